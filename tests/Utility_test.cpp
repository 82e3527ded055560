#include <gtest/gtest.h>
#include <quarnel/Utility.h>

#include <cerrno>
#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>

#include "support/Reports.h"

namespace {

using QuarnelUtility::Errno;
using QuarnelUtility::Place;

std::string printed(const Place& place) {
  std::ostringstream text;
  text << place;
  return text.str();
}

std::string printed(const Errno& failure) {
  std::ostringstream text;
  text << failure;
  return text.str();
}

std::string fileNameOf(const char* path) {
  const std::string text = printed(Place{path, "f", 1});
  const std::string before = "File: ";
  const std::string behind = "   Function: f   Line: 1    --> ";
  EXPECT_EQ(text.substr(0, before.size()), before);
  EXPECT_GE(text.size(), before.size() + behind.size());
  EXPECT_EQ(text.substr(text.size() - behind.size()), behind);
  return text.substr(before.size(), text.size() - before.size() - behind.size());
}

// Remembers what had arrived when the stream was last flushed.
class FlushedText : public std::stringbuf {
 public:
  const std::string& get() const { return flushed; }

 protected:
  int sync() override {
    flushed = str();
    return 0;
  }

 private:
  std::string flushed;
};

class Redirection {
 public:
  Redirection(std::ostream& stream, std::streambuf* buffer)
      : redirected(stream), before(stream.rdbuf(buffer)) {}
  ~Redirection() { redirected.rdbuf(before); }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

 private:
  std::ostream& redirected;
  std::streambuf* before;
};

}  // namespace

TEST(Place, IsPrintedWithThreeBlanksBetweenFieldsAndFourBeforeTheArrow) {
  EXPECT_EQ(printed(Place{"State.cpp", "load", 12}),
            "File: State   Function: load   Line: 12    --> ");
}

TEST(Place, NamesTheFileWithoutFolders) {
  EXPECT_EQ(fileNameOf("/home/user/quarnel/src/State.cpp"), "State");
  EXPECT_EQ(fileNameOf("../src/State.cpp"), "State");
  EXPECT_EQ(fileNameOf("src/State.cpp"), "State");
  EXPECT_EQ(fileNameOf("/State.cpp"), "State");
}

TEST(Place, NamesTheFileWithoutExtension) {
  EXPECT_EQ(fileNameOf("State.cpp"), "State");
  EXPECT_EQ(fileNameOf("State.h"), "State");
  EXPECT_EQ(fileNameOf("State."), "State");
}

TEST(Place, KeepsAFileNameThatHasNeitherFolderNorExtension) {
  EXPECT_EQ(fileNameOf("State"), "State");
}

TEST(Place, TakesNoDotInAFolderForAnExtension) {
  EXPECT_EQ(fileNameOf("/home/quarnel-1.2/State"), "State");
  EXPECT_EQ(fileNameOf("./State"), "State");
}

TEST(Place, TakesOffOneExtensionOnly) { EXPECT_EQ(fileNameOf("State.moc.cpp"), "State.moc"); }

TEST(Place, PrintsLargeLineNumbersWhole) {
  EXPECT_EQ(printed(Place{"a", "f", 2147483647}),
            "File: a   Function: f   Line: 2147483647    --> ");
}

TEST(Place, OfTheMacroIsWhereTheMacroStands) {
  const int line = __LINE__ + 1;
  const Place place = QUARNEL_PLACE;
  EXPECT_STREQ(place.file, __FILE__);
  EXPECT_STREQ(place.function, "TestBody");
  EXPECT_EQ(place.line, line);
}

TEST(Errno, IsPrintedAsNumberSeparatorAndTheSystemsText) {
  EXPECT_EQ(printed(Errno{ENOENT, " --> "}), "errno = 2 --> No such file or directory");
  EXPECT_EQ(printed(Errno{ENOSPC, "  -->  "}), "errno = 28  -->  No space left on device");
  EXPECT_EQ(printed(Errno{EIO, "  -->  "}), "errno = 5  -->  Input/output error");
}

TEST(Errno, OfNoFailureReadsSuccess) {
  EXPECT_EQ(printed(Errno{0, "  -->  "}), "errno = 0  -->  Success");
}

TEST(Errno, ThatTheSystemDoesNotKnowKeepsItsNumber) {
  EXPECT_EQ(printed(Errno{9999, " --> "}), "errno = 9999 --> Unknown error 9999");
}

TEST(ErrorReport, IsOneLineOnStandardError) {
  Reports reports;
  const std::string line = std::to_string(__LINE__ + 1);
  QUARNEL_ERROR("statePtr == 0");
  EXPECT_EQ(reports.errorText(), "ERROR: File: Utility_test   Function: TestBody   Line: " + line +
                                     "    --> statePtr == 0\n");
  EXPECT_EQ(reports.informationText(), "");
}

TEST(ErrorReport, MayBeAChain) {
  Reports reports;
  const unsigned int id = 4294967295u;
  QUARNEL_ERROR("0 <= " << id << " < " << 3);
  EXPECT_EQ(reports.errors(), messages({"0 <= 4294967295 < 3"}));
}

TEST(ErrorReport, NamesTheFunctionItStandsIn) {
  Reports reports;
  struct Caller {
    static void complain() { QUARNEL_ERROR("x"); }
  };
  Caller::complain();
  const std::vector<Report> errors = reports.takeErrors();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].function, "complain");
}

TEST(ErrorReport, OfAnotherPlaceNamesThatPlace) {
  Reports reports;
  const Place place{"src/VarValuesInt.cpp", "save", 31};
  QUARNEL_ERROR_AT(place, "count " << 1);
  EXPECT_EQ(reports.errorText(),
            "ERROR: File: VarValuesInt   Function: save   Line: 31    --> count 1\n");
  EXPECT_EQ(reports.informationText(), "");
}

TEST(ErrorReport, ShowsAnErrnoAsItsMessage) {
  Reports reports;
  const Place place{"a.cpp", "f", 1};
  const Errno failure{ENOENT, " --> "};
  QUARNEL_ERROR_AT(place, failure);
  EXPECT_EQ(
      reports.errorText(),
      "ERROR: File: a   Function: f   Line: 1    --> errno = 2 --> No such file or directory\n");
}

TEST(ErrorReport, IsFlushed) {
  FlushedText text;
  {
    // cerr flushes after each piece on its own; the flush that counts is the report's.
    const Redirection redirection(std::cerr, &text);
    std::cerr << std::nounitbuf;
    QUARNEL_ERROR("stop");
    std::cerr << std::unitbuf;
  }
  EXPECT_EQ(text.get(), text.str());
  EXPECT_EQ(text.get().substr(text.get().size() - 10), " --> stop\n");
}

TEST(InformationReport, IsOneLineOnStandardOutput) {
  Reports reports;
  const std::string line = std::to_string(__LINE__ + 1);
  QUARNEL_INFORMATION("end of episode");
  EXPECT_EQ(reports.informationText(),
            "File: Utility_test   Function: TestBody   Line: " + line + "    --> end of episode\n");
  EXPECT_EQ(reports.errorText(), "");
}

TEST(InformationReport, OfAnotherPlaceNamesThatPlace) {
  Reports reports;
  const Place place{"src/Quarnel.cpp", "controlLoop", 31};
  QUARNEL_INFORMATION_AT(place, "count " << 1);
  EXPECT_EQ(reports.informationText(),
            "File: Quarnel   Function: controlLoop   Line: 31    --> count 1\n");
  EXPECT_EQ(reports.errorText(), "");
}

TEST(InformationReport, MayBeAChain) {
  Reports reports;
  QUARNEL_INFORMATION("episode " << 3 << ", steps " << 0.5);
  EXPECT_EQ(reports.information(), messages({"episode 3, steps 0.5"}));
}

TEST(InformationReport, IsFlushed) {
  FlushedText text;
  {
    const Redirection redirection(std::cout, &text);
    QUARNEL_INFORMATION("go");
  }
  EXPECT_EQ(text.get(), text.str());
  EXPECT_EQ(text.get().substr(text.get().size() - 8), " --> go\n");
}

TEST(Report, IsASingleStatement) {
  Reports reports;
  const bool wrong = false;
  if (wrong)
    QUARNEL_ERROR("wrong");
  else
    QUARNEL_INFORMATION("right");
  EXPECT_EQ(reports.errors(), messages({}));
  EXPECT_EQ(reports.information(), messages({"right"}));
}

TEST(Report, FollowsOnOthersLineByLine) {
  Reports reports;
  QUARNEL_ERROR("first");
  QUARNEL_ERROR("second");
  EXPECT_EQ(reports.errors(), messages({"first", "second"}));
}
