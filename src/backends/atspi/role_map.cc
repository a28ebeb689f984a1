#include "backends/atspi/role_map.h"

#include <atspi/atspi-constants.h>

#include <unordered_map>

namespace skimlet::atspi {

namespace {

using N = NamePlacement;

const std::unordered_map<std::uint32_t, AxRole>& table() {
  // Controls show their name as AXTitle; images, groups and text fields as AXDescription.
  static const std::unordered_map<std::uint32_t, AxRole> roles = {
      {ATSPI_ROLE_DOCUMENT_WEB, {"AXWebArea", "", N::title}},
      {ATSPI_ROLE_DOCUMENT_FRAME, {"AXWebArea", "", N::title}},
      {ATSPI_ROLE_FRAME, {"AXWindow", "AXStandardWindow", N::title}},
      {ATSPI_ROLE_WINDOW, {"AXWindow", "AXStandardWindow", N::title}},
      {ATSPI_ROLE_APPLICATION, {"AXApplication", "", N::title}},
      {ATSPI_ROLE_TOOL_BAR, {"AXToolbar", "", N::description}},
      {ATSPI_ROLE_PUSH_BUTTON, {"AXButton", "", N::title}},
      {ATSPI_ROLE_TOGGLE_BUTTON, {"AXButton", "", N::title}},
      {ATSPI_ROLE_PUSH_BUTTON_MENU, {"AXMenuButton", "", N::title}},
      {ATSPI_ROLE_LINK, {"AXLink", "", N::title}},
      {ATSPI_ROLE_HEADING, {"AXHeading", "", N::title}},
      {ATSPI_ROLE_PASSWORD_TEXT, {"AXTextField", "AXSecureTextField", N::description, true}},
      {ATSPI_ROLE_CHECK_BOX, {"AXCheckBox", "", N::title, true}},
      {ATSPI_ROLE_RADIO_BUTTON, {"AXRadioButton", "", N::title, true}},
      {ATSPI_ROLE_MENU_ITEM, {"AXMenuItem", "", N::title}},
      {ATSPI_ROLE_CHECK_MENU_ITEM, {"AXMenuItem", "", N::title}},
      {ATSPI_ROLE_RADIO_MENU_ITEM, {"AXMenuItem", "", N::title}},
      {ATSPI_ROLE_MENU, {"AXMenu", "", N::description}},
      {ATSPI_ROLE_POPUP_MENU, {"AXMenu", "", N::description}},
      {ATSPI_ROLE_MENU_BAR, {"AXMenuBar", "", N::description}},
      {ATSPI_ROLE_PAGE_TAB, {"AXRadioButton", "AXTabButton", N::title}},
      {ATSPI_ROLE_PAGE_TAB_LIST, {"AXTabGroup", "", N::description}},
      {ATSPI_ROLE_IMAGE, {"AXImage", "", N::description, true}},
      {ATSPI_ROLE_ICON, {"AXImage", "", N::description, true}},
      {ATSPI_ROLE_LIST, {"AXList", "AXContentList", N::description}},
      {ATSPI_ROLE_LIST_BOX, {"AXList", "", N::description}},
      {ATSPI_ROLE_DESCRIPTION_LIST, {"AXList", "AXDescriptionList", N::description}},
      {ATSPI_ROLE_LIST_ITEM, {"AXListItem", "", N::description}},
      {ATSPI_ROLE_TABLE, {"AXTable", "", N::description}},
      {ATSPI_ROLE_TREE_TABLE, {"AXTable", "", N::description}},
      {ATSPI_ROLE_TABLE_ROW, {"AXRow", "", N::description}},
      {ATSPI_ROLE_TABLE_CELL, {"AXCell", "", N::description}},
      {ATSPI_ROLE_TABLE_COLUMN_HEADER, {"AXCell", "", N::description}},
      {ATSPI_ROLE_TABLE_ROW_HEADER, {"AXCell", "", N::description}},
      {ATSPI_ROLE_COLUMN_HEADER, {"AXCell", "", N::description}},
      {ATSPI_ROLE_ROW_HEADER, {"AXCell", "", N::description}},
      {ATSPI_ROLE_SLIDER, {"AXSlider", "", N::description, true}},
      {ATSPI_ROLE_SPIN_BUTTON, {"AXIncrementor", "", N::description, true}},
      {ATSPI_ROLE_PROGRESS_BAR, {"AXProgressIndicator", "", N::description, true}},
      {ATSPI_ROLE_LEVEL_BAR, {"AXLevelIndicator", "", N::description, true}},
      {ATSPI_ROLE_SEPARATOR, {"AXSplitter", "", N::description, true}},
      {ATSPI_ROLE_DIALOG, {"AXGroup", "AXApplicationDialog", N::description}},
      {ATSPI_ROLE_ALERT, {"AXGroup", "AXApplicationAlert", N::description}},
      {ATSPI_ROLE_STATUS_BAR, {"AXGroup", "AXApplicationStatus", N::description}},
      {ATSPI_ROLE_ARTICLE, {"AXGroup", "AXDocumentArticle", N::description}},
      {ATSPI_ROLE_TREE, {"AXOutline", "", N::description}},
      {ATSPI_ROLE_TREE_ITEM, {"AXRow", "AXOutlineRow", N::title}},
      // A form label names its control, which shows that name itself; the label is not a
      // second thing to click, and its text stays as text.
      {ATSPI_ROLE_LABEL, {"AXGroup", "", N::none}},
      {ATSPI_ROLE_SCROLL_BAR, {"AXScrollBar", "", N::description, true}},
  };
  return roles;
}

bool contains(std::string_view list, std::string_view word) {
  // xml-roles holds space-separated ARIA roles.
  std::size_t pos = 0;
  while ((pos = list.find(word, pos)) != std::string_view::npos) {
    bool start = pos == 0 || list[pos - 1] == ' ';
    bool end = pos + word.size() == list.size() || list[pos + word.size()] == ' ';
    if (start && end) return true;
    pos += word.size();
  }
  return false;
}

}  // namespace

AxRole mapRole(std::uint32_t role, const RoleContext& context) {
  if (role == ATSPI_ROLE_ENTRY) {
    if (context.states.has(ATSPI_STATE_MULTI_LINE)) return {"AXTextArea", "", N::description, true};
    if (context.inputType == "search" || contains(context.xmlRoles, "searchbox"))
      return {"AXTextField", "AXSearchField", N::description, true};
    return {"AXTextField", "", N::description, true};
  }
  if (role == ATSPI_ROLE_COMBO_BOX) {
    // A <select> is a pop-up button; an editable combobox is a text field with a list.
    if (context.states.has(ATSPI_STATE_EDITABLE)) return {"AXComboBox", "", N::description, true};
    return {"AXPopUpButton", "", N::title, true};
  }
  if (role == ATSPI_ROLE_LANDMARK) {
    static const std::pair<const char*, const char*> landmarks[] = {{"navigation", "AXLandmarkNavigation"},
                                                                    {"main", "AXLandmarkMain"},
                                                                    {"banner", "AXLandmarkBanner"},
                                                                    {"contentinfo", "AXLandmarkContentInfo"},
                                                                    {"complementary", "AXLandmarkComplementary"},
                                                                    {"search", "AXLandmarkSearch"},
                                                                    {"region", "AXLandmarkRegion"}};
    for (auto [aria, subrole] : landmarks)
      if (contains(context.xmlRoles, aria)) return {"AXGroup", subrole, N::description};
    return {"AXGroup", "", N::description};
  }
  if (auto it = table().find(role); it != table().end()) return it->second;
  // Sections, paragraphs, panels, labels, forms and every role we do not know: a plain group,
  // which is how desktop browsers show structure without meaning.
  return {"AXGroup", "", N::description};
}

bool isControl(std::string_view r) {
  return r == "AXButton" || r == "AXLink" || r == "AXCheckBox" || r == "AXRadioButton" || r == "AXMenuItem" ||
         r == "AXPopUpButton" || r == "AXMenuButton" || r == "AXTextField" || r == "AXTextArea" || r == "AXComboBox" ||
         r == "AXSlider" || r == "AXIncrementor";
}

bool mayHoldText(std::uint32_t role) {
  switch (role) {
    case ATSPI_ROLE_IMAGE:
    case ATSPI_ROLE_ICON:
    case ATSPI_ROLE_TABLE:
    case ATSPI_ROLE_TABLE_ROW:
    case ATSPI_ROLE_LIST:
    case ATSPI_ROLE_LIST_BOX:
    case ATSPI_ROLE_MENU:
    case ATSPI_ROLE_MENU_BAR:
    case ATSPI_ROLE_FRAME:
    case ATSPI_ROLE_APPLICATION:
    case ATSPI_ROLE_INTERNAL_FRAME:
    case ATSPI_ROLE_SCROLL_PANE:
    case ATSPI_ROLE_TOOL_BAR:
    case ATSPI_ROLE_PAGE_TAB_LIST:
    case ATSPI_ROLE_SEPARATOR:
    case ATSPI_ROLE_SCROLL_BAR:
    case ATSPI_ROLE_CHECK_BOX:
    case ATSPI_ROLE_RADIO_BUTTON:
    case ATSPI_ROLE_PROGRESS_BAR:
    case ATSPI_ROLE_SLIDER: return false;
    default: return true;
  }
}

}  // namespace skimlet::atspi
