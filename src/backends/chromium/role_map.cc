#include "backends/chromium/role_map.h"

#include <unordered_map>

namespace skimlet::chromium {

namespace {

using N = NamePlacement;

const std::unordered_map<std::string_view, AxRole>& table() {
  // Buttons, links, headings and other controls show their name as AXTitle; images, groups and
  // text fields as AXDescription; static text carries its text as AXValue.
  static const std::unordered_map<std::string_view, AxRole> roles = {
      {"RootWebArea", {"AXWebArea", "", N::title}},
      {"WebArea", {"AXWebArea", "", N::title}},
      {"StaticText", {"AXStaticText", "", N::value, true}},
      {"link", {"AXLink", "", N::title}},
      {"button", {"AXButton", "", N::title}},
      {"PopUpButton", {"AXPopUpButton", "", N::title, true}},
      {"heading", {"AXHeading", "", N::title}},
      {"textbox", {"AXTextField", "", N::description, true}},
      {"searchbox", {"AXTextField", "AXSearchField", N::description, true}},
      {"checkbox", {"AXCheckBox", "", N::title}},
      {"switch", {"AXCheckBox", "AXSwitch", N::title}},
      {"radio", {"AXRadioButton", "", N::title}},
      {"menuitemcheckbox", {"AXMenuItem", "", N::title}},
      {"menuitemradio", {"AXMenuItem", "", N::title}},
      {"menuitem", {"AXMenuItem", "", N::title}},
      {"menu", {"AXMenu", "", N::description}},
      {"menubar", {"AXMenuBar", "", N::description}},
      {"tab", {"AXRadioButton", "AXTabButton", N::title}},
      {"tablist", {"AXTabGroup", "", N::description}},
      {"tabpanel", {"AXGroup", "AXTabPanel", N::description}},
      {"image", {"AXImage", "", N::description}},
      {"img", {"AXImage", "", N::description}},
      {"graphics-symbol", {"AXImage", "", N::description}},
      {"list", {"AXList", "AXContentList", N::description}},
      {"listitem", {"AXListItem", "", N::description}},
      {"ListMarker", {"", "", N::none}},
      {"InlineTextBox", {"", "", N::none}},
      {"LineBreak", {"", "", N::none}},
      {"MenuListPopup", {"", "", N::none}},
      {"table", {"AXTable", "", N::description}},
      {"grid", {"AXTable", "", N::description}},
      {"treegrid", {"AXTable", "", N::description}},
      {"row", {"AXRow", "", N::description}},
      {"cell", {"AXCell", "", N::description}},
      {"gridcell", {"AXCell", "", N::description}},
      {"columnheader", {"AXCell", "", N::description}},
      {"rowheader", {"AXCell", "", N::description}},
      {"slider", {"AXSlider", "", N::description, true}},
      {"spinbutton", {"AXIncrementor", "", N::description, true}},
      {"progressbar", {"AXProgressIndicator", "", N::description}},
      {"meter", {"AXLevelIndicator", "", N::description}},
      {"separator", {"AXSplitter", "", N::description}},
      {"dialog", {"AXGroup", "AXApplicationDialog", N::description}},
      {"alertdialog", {"AXGroup", "AXApplicationAlertDialog", N::description}},
      {"alert", {"AXGroup", "AXApplicationAlert", N::description}},
      {"status", {"AXGroup", "AXApplicationStatus", N::description}},
      {"navigation", {"AXGroup", "AXLandmarkNavigation", N::description}},
      {"main", {"AXGroup", "AXLandmarkMain", N::description}},
      {"banner", {"AXGroup", "AXLandmarkBanner", N::description}},
      {"contentinfo", {"AXGroup", "AXLandmarkContentInfo", N::description}},
      {"complementary", {"AXGroup", "AXLandmarkComplementary", N::description}},
      {"search", {"AXGroup", "AXLandmarkSearch", N::description}},
      {"region", {"AXGroup", "AXLandmarkRegion", N::description}},
      {"form", {"AXGroup", "", N::description}},
      {"article", {"AXGroup", "AXDocumentArticle", N::description}},
      {"tree", {"AXOutline", "", N::description}},
      {"treeitem", {"AXRow", "AXOutlineRow", N::title}},
      {"Iframe", {"AXGroup", "", N::description}},
      {"video", {"AXGroup", "", N::description}},
      {"audio", {"AXGroup", "", N::description}},
  };
  return roles;
}

}  // namespace

AxRole mapRole(std::string_view cdpRole, const RoleContext& context) {
  if (context.tagName == "INPUT" && context.inputType == "password")
    return {"AXTextField", "AXSecureTextField", N::description, true};
  if (cdpRole == "textbox" && context.multiline) return {"AXTextArea", "", N::description, true};
  if (cdpRole == "combobox" || cdpRole == "ComboBoxMenuButton" || cdpRole == "ComboBoxSelect") {
    // A <select> is a pop-up button; an editable combobox is a text field with a list.
    if (context.tagName == "SELECT" || !context.editable) return {"AXPopUpButton", "", N::title, true};
    return {"AXComboBox", "", N::description, true};
  }
  if (auto it = table().find(cdpRole); it != table().end()) return it->second;
  // generic, section, paragraph, group, LabelText, figure, code, emphasis and every role we do
  // not know: a plain group, which is how desktop browsers show structure without meaning.
  return {"AXGroup", "", N::description};
}

}  // namespace skimlet::chromium
