#include "match/safety.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

const char* purchase = "This may submit a purchase.";
const char* publish = "This may send or publish content.";
const char* removal = "This may delete content or cancel something.";
const char* account = "This may change your account or security settings.";
const char* agreement = "This may confirm an agreement or consequential action.";

TEST(Safety, WholeWordsOnlyAfterFolding) {
  EXPECT_EQ(Safety::assess("Pay now"), purchase);
  EXPECT_EQ(Safety::assess("Checkout →"), purchase);
  EXPECT_EQ(Safety::assess("SUBMIT"), publish);
  EXPECT_EQ(Safety::assess("Réply"), publish);
  EXPECT_EQ(Safety::assess("Enable 2FA"), account);
  EXPECT_EQ(Safety::assess("Check-out"), purchase);  // punctuation between words is a blank
  EXPECT_EQ(Safety::assess("Payment methods"), std::nullopt);
  EXPECT_EQ(Safety::assess("Posters"), std::nullopt);
  EXPECT_EQ(Safety::assess("Sharepoint"), std::nullopt);
  EXPECT_EQ(Safety::assess(""), std::nullopt);
}

TEST(Safety, EarlierRulesWin) {
  EXPECT_EQ(Safety::assess("Confirm order"), purchase);  // before the plain "confirm" of the last rule
  EXPECT_EQ(Safety::assess("Confirm"), agreement);
  EXPECT_EQ(Safety::assess("Delete account"), removal);
  EXPECT_EQ(Safety::assess("Sign out everywhere"), account);
  EXPECT_EQ(Safety::assess("Subscribe and send updates"), publish);
  EXPECT_EQ(Safety::assess("I agree"), agreement);
}

}  // namespace
}  // namespace skimlet
