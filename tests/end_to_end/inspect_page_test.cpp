// The page of `kyv inspect --html` in a real browser, under a real pointer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/end_to_end/browser.h"
#include "tests/end_to_end/tool_fixture.h"

namespace {

using kyv_test::Browser;
using kyv_test::Outcome;
using kyv_test::Tool;
using testing::Contains;
using testing::StartsWith;

constexpr char kBrowser[] = "chromium";

class InspectPage : public Tool {
 protected:
  void SetUp() override {
    if (run("command -v " + std::string(kBrowser)).status != 0) {
      GTEST_SKIP() << "there is no " << kBrowser << "; scripts/install_packages.sh browser installs it";
    }
    writePeople();
    const Outcome outcome =
        run("kyv convert -q -s people.json people.csv -o rows && kyv inspect -s people.json rows --html page.html");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    browser_ = std::make_unique<Browser>(kBrowser, path("").string());
    browser_->open("file://" + path("page.html").string());
  }

  // Puts the pointer on the middle of an element. The page tells where that is; the browser tells the page.
  void pointAt(const std::string& selector) {
    const Browser::Json place = placeOf(selector);
    browser_->moveMouseTo(place[0], place[1]);
  }
  void clickOn(const std::string& selector) {
    const Browser::Json place = placeOf(selector);
    browser_->clickAt(place[0], place[1]);
  }
  Browser::Json placeOf(const std::string& selector) {
    return browser_->evaluate("(() => { const box = document.querySelector('" + selector +
                              "').getBoundingClientRect();"
                              " return [box.x + box.width / 2, box.y + box.height / 2]; })()");
  }

  // The texts of what is lit, in the page's order.
  std::vector<std::string> lit() {
    return browser_->evaluate("[...document.querySelectorAll('.lit')].map(each => each.textContent)");
  }

  std::unique_ptr<Browser> browser_;
};

constexpr char kNameRow[] = "#record-1 ~ .panes tbody tr:nth-child(2) th";
const std::vector<std::string> kNameParts = {"28 00 00 00", "(...", "41 6e 6e 00", "Ann.",
                                             "2Namestring\"Ann\"0x28441 6e 6e 00"};

TEST_F(InspectPage, LightsUpAValueWithItsBytesAndItsOffset) {
  EXPECT_TRUE(lit().empty());
  pointAt(kNameRow);
  EXPECT_EQ(lit(), kNameParts);
  EXPECT_NE(browser_->evaluate("getComputedStyle(document.querySelector('pre .lit')).outlineStyle"), "none");
  pointAt("#record-1 ~ .panes pre span[title^=\"Name\"]");
  EXPECT_EQ(lit(), kNameParts);
  pointAt("#record-1 ~ .panes pre span[title^=\"offset of Name\"]");
  EXPECT_EQ(lit(), kNameParts);
  pointAt("h1");
  EXPECT_TRUE(lit().empty());
}

TEST_F(InspectPage, KeepsWhatWasClickedAndFollowsTheKeyboard) {
  pointAt(kNameRow);
  clickOn(kNameRow);
  pointAt("h1");
  EXPECT_EQ(lit(), kNameParts);
  clickOn(kNameRow);
  pointAt("h1");
  browser_->evaluate("document.activeElement.blur()");
  EXPECT_TRUE(lit().empty());
  browser_->evaluate("document.querySelector('#record-2 ~ .panes tbody tr').focus()");
  EXPECT_THAT(lit(), Contains("1Idinteger20x24402 00 00 00"));
}

// The picture stays beside the tool, for people to look at. One of an empty page is much smaller.
TEST_F(InspectPage, DrawsWithoutComplaint) {
  constexpr std::size_t kLeastPicture = 20'000;
  pointAt(kNameRow);
  write("picture", browser_->screenshot());
  const std::string picture = kyv_test::kToolDir + std::string("/inspect_page.png");
  EXPECT_EQ(run("base64 -d picture >" + picture).status, 0);
  EXPECT_THAT(kyv_test::read(picture), StartsWith("\x89PNG"));
  EXPECT_GT(kyv_test::read(picture).size(), kLeastPicture);
  EXPECT_EQ(browser_->evaluate("document.documentElement.scrollWidth <= innerWidth"), true);
  EXPECT_EQ(browser_->evaluate("performance.getEntriesByType('resource').length"), 0);
}

}  // namespace
