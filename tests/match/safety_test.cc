#include "match/safety.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

TEST(Safety, RulesMatchWholeWords) {
  const std::string purchase = "This may submit a purchase.", publish = "This may send or publish content.";
  EXPECT_EQ(Safety::assess("Pay now"), purchase);
  EXPECT_EQ(Safety::assess("Check-out →"), purchase);
  EXPECT_EQ(Safety::assess("Réply"), publish);
  EXPECT_EQ(Safety::assess("Enable 2FA"), "This may change your account or security settings.");
  EXPECT_EQ(Safety::assess("Payment methods"), std::nullopt);
  EXPECT_EQ(Safety::assess("Sharepoint"), std::nullopt);

  EXPECT_EQ(Safety::assess("Confirm order"), purchase);  // before the plain "confirm" of the last rule
  EXPECT_EQ(Safety::assess("Confirm"), "This may confirm an agreement or consequential action.");
  EXPECT_EQ(Safety::assess("Delete account"), "This may delete content or cancel something.");
  EXPECT_EQ(Safety::assess("Subscribe and send updates"), publish);
}

}  // namespace
}  // namespace skimlet
