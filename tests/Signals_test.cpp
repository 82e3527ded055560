#include <dlfcn.h>
#include <gmock/gmock.h>
#include <quarnel/Quarnel.h>
#include <quarnel/State.h>
#include <quarnel/StateLookupTable.h>
#include <quarnel/TD.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/Draws.h"
#include "support/Files.h"
#include "support/RecordingLearner.h"
#include "support/Reports.h"

namespace {

using SigwaitFunction = std::function<int(const sigset_t*, int*)>;
using SigprocmaskFunction = std::function<int(int, const sigset_t*, sigset_t*)>;

// What runs instead of libc's, as long as a test asks for it. Plain pointers: signal masks are
// changed before the objects of this file are made.
const SigwaitFunction* sigwaitPtr = nullptr;
const SigprocmaskFunction* sigprocmaskPtr = nullptr;

template <typename Function>
Function* libc(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int realSigwait(const sigset_t* set, int* number) {
  return libc<int(const sigset_t*, int*)>("sigwait")(set, number);
}

int realSigprocmask(int how, const sigset_t* set, sigset_t* old) {
  return libc<int(int, const sigset_t*, sigset_t*)>("sigprocmask")(how, set, old);
}

}  // namespace

// Stand in for libc's in the whole process.
extern "C" int sigwait(const sigset_t* set, int* number) {
  return sigwaitPtr != nullptr ? (*sigwaitPtr)(set, number) : realSigwait(set, number);
}

extern "C" int sigprocmask(int how, const sigset_t* set, sigset_t* old) noexcept {
  return sigprocmaskPtr != nullptr ? (*sigprocmaskPtr)(how, set, old)
                                   : realSigprocmask(how, set, old);
}

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Signals = std::set<int>;

const Signals STEERING_SIGNALS = {SIGINT, SIGTERM, SIGUSR1, SIGUSR2};

// --- What the platform does ---

class FakeSigwait {
 public:
  explicit FakeSigwait(SigwaitFunction replacement) : function(std::move(replacement)) {
    sigwaitPtr = &function;
  }
  ~FakeSigwait() { sigwaitPtr = nullptr; }
  FakeSigwait(const FakeSigwait&) = delete;
  FakeSigwait& operator=(const FakeSigwait&) = delete;

 private:
  const SigwaitFunction function;
};

class FakeSigprocmask {
 public:
  explicit FakeSigprocmask(SigprocmaskFunction replacement) : function(std::move(replacement)) {
    sigprocmaskPtr = &function;
  }
  ~FakeSigprocmask() { sigprocmaskPtr = nullptr; }
  FakeSigprocmask(const FakeSigprocmask&) = delete;
  FakeSigprocmask& operator=(const FakeSigprocmask&) = delete;

 private:
  const SigprocmaskFunction function;
};

SigprocmaskFunction failWith(int number) {
  return [number](int, const sigset_t*, sigset_t*) {
    errno = number;
    return -1;
  };
}

sigset_t setOf(const Signals& signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) {
    sigaddset(&set, signal);
  }
  return set;
}

Signals membersOf(const sigset_t& set) {
  Signals members;
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (sigismember(&set, signal) == 1) {
      members.insert(signal);
    }
  }
  return members;
}

void block(const Signals& signals) {
  const sigset_t set = setOf(signals);
  realSigprocmask(SIG_BLOCK, &set, nullptr);
}

void unblock(const Signals& signals) {
  const sigset_t set = setOf(signals);
  realSigprocmask(SIG_UNBLOCK, &set, nullptr);
}

Signals blocked() {
  sigset_t set;
  realSigprocmask(SIG_BLOCK, nullptr, &set);
  return membersOf(set);
}

Signals pending() {
  sigset_t set;
  sigpending(&set);
  return membersOf(set);
}

std::vector<int>* deliveredPtr = nullptr;

// Safe though it allocates: signals come at the one moment at which a test unblocks them.
void noteDelivery(int signal) { deliveredPtr->push_back(signal); }

// --- In the process ---

// Starts from a mask in which none of the signals that are used here is blocked, and writes down
// those that get through to the process.
class SignalTest : public ::testing::Test {
 protected:
  SignalTest() {
    realSigprocmask(SIG_BLOCK, nullptr, &maskBefore);
    deliveredPtr = &delivered;
    for (const int signal : USED) {
      struct sigaction action = {};
      action.sa_handler = noteDelivery;
      struct sigaction before = {};
      sigaction(signal, &action, &before);
      actionsBefore.push_back(before);
    }
    unblock(USED);
    writeFile(fileName, "");
  }

  ~SignalTest() override {
    unblock(USED);
    auto before = actionsBefore.begin();
    for (const int signal : USED) {
      sigaction(signal, &*before++, nullptr);
    }
    realSigprocmask(SIG_SETMASK, &maskBefore, nullptr);
    deliveredPtr = nullptr;
  }

  inline static const Signals USED = {SIGHUP, SIGINT, SIGUSR1, SIGUSR2, SIGALRM, SIGTERM};

  TemporaryDirectory directory;
  const std::string fileName = directory.file("learner.conf");
  std::vector<int> delivered;
  Reports reports;

 private:
  sigset_t maskBefore;
  std::vector<struct sigaction> actionsBefore;
};

// --- The mask ---

class SignalsInstall : public SignalTest {};

TEST_F(SignalsInstall, BlocksTheFourSignalsAndNoOther) {
  const RecordingLearner learner(fileName);
  EXPECT_EQ(blocked(), STEERING_SIGNALS);
  EXPECT_EQ(membersOf(learner.newSigSet), STEERING_SIGNALS);
}

TEST_F(SignalsInstall, RemembersTheMaskInForceBefore) {
  block({SIGHUP, SIGUSR2});
  const RecordingLearner learner(fileName);
  EXPECT_EQ(membersOf(learner.oldSigSet), (Signals{SIGHUP, SIGUSR2}));
  EXPECT_EQ(membersOf(learner.newSigSet), STEERING_SIGNALS);
  EXPECT_EQ(blocked(), (Signals{SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGUSR2}));
}

TEST_F(SignalsInstall, StartsWithNoPendingSignal) {
  block({SIGUSR1});
  raise(SIGUSR1);
  const RecordingLearner learner(fileName);
  EXPECT_THAT(membersOf(learner.pendingSignals), IsEmpty());
  EXPECT_THAT(pending(), Contains(SIGUSR1));
}

TEST_F(SignalsInstall, StartsItsSetsAnew) {
  RecordingLearner learner(fileName);
  learner.removeSignalHandler();
  for (sigset_t* const set : {&learner.oldSigSet, &learner.newSigSet, &learner.pendingSignals}) {
    sigaddset(set, SIGHUP);
  }
  learner.installSignalHandler();
  EXPECT_THAT(membersOf(learner.oldSigSet), IsEmpty());
  EXPECT_EQ(membersOf(learner.newSigSet), STEERING_SIGNALS);
  EXPECT_THAT(membersOf(learner.pendingSignals), IsEmpty());
}

TEST_F(SignalsInstall, AsksThePlatformOnceToBlock) {
  std::unique_ptr<RecordingLearner> learner;
  int calls = 0;
  const FakeSigprocmask fake([&](int how, const sigset_t* set, sigset_t* old) {
    ++calls;
    EXPECT_EQ(how, SIG_BLOCK);
    EXPECT_EQ(membersOf(*set), STEERING_SIGNALS);
    EXPECT_NE(old, nullptr);
    return realSigprocmask(how, set, old);
  });
  learner = std::make_unique<RecordingLearner>(fileName);
  EXPECT_EQ(calls, 1);
}

TEST_F(SignalsInstall, SaysNothing) {
  { const RecordingLearner learner(fileName); }
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(SignalsInstall, FollowsTheSeedAndPrecedesTheConfigurationFile) {
  std::filesystem::remove(fileName);
  std::srand(7);
  std::unique_ptr<RecordingLearner> learner;
  int drawn = 0;
  bool fileThere = true;
  {
    const FakeSigprocmask fake([&](int how, const sigset_t* set, sigset_t* old) {
      drawn = std::rand();
      fileThere = std::filesystem::exists(fileName);
      return realSigprocmask(how, set, old);
    });
    learner = std::make_unique<RecordingLearner>(fileName);
  }
  EXPECT_EQ(drawn, draw(1, 0));
  EXPECT_FALSE(fileThere);
  EXPECT_TRUE(std::filesystem::exists(fileName));
}

TEST_F(SignalsInstall, FailedIsReportedAndLeavesTheSignalsAsTheyWere) {
  block({SIGUSR2});
  std::unique_ptr<RecordingLearner> learner;
  {
    const FakeSigprocmask fake(failWith(EPERM));
    learner = std::make_unique<RecordingLearner>(fileName);
  }
  EXPECT_EQ(blocked(), Signals{SIGUSR2});
  EXPECT_EQ(membersOf(learner->newSigSet), STEERING_SIGNALS);
  EXPECT_THAT(membersOf(learner->oldSigSet), IsEmpty());
  EXPECT_THAT(membersOf(learner->pendingSignals), IsEmpty());
  EXPECT_THAT(saidIn(reports.takeErrors()),
              ElementsAre("installSignalHandler: sigprocmask --> " + errnoMessage(EPERM, " - ")));
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(SignalsInstall, FailedStartsItsSetsAnewAllTheSame) {
  RecordingLearner learner(fileName);
  for (sigset_t* const set : {&learner.oldSigSet, &learner.newSigSet, &learner.pendingSignals}) {
    sigaddset(set, SIGHUP);
  }
  {
    const FakeSigprocmask fake(failWith(EINVAL));
    learner.installSignalHandler();
  }
  EXPECT_THAT(membersOf(learner.oldSigSet), IsEmpty());
  EXPECT_EQ(membersOf(learner.newSigSet), STEERING_SIGNALS);
  EXPECT_THAT(membersOf(learner.pendingSignals), IsEmpty());
  EXPECT_THAT(saidIn(reports.takeErrors()),
              ElementsAre("installSignalHandler: sigprocmask --> " + errnoMessage(EINVAL, " - ")));
}

TEST_F(SignalsInstall, FailedDoesNotKeepTheLearnerFromItsConfiguration) {
  writeFile(fileName, "ALPHA 0.3\n");
  const FakeSigprocmask fake(failWith(EPERM));
  EXPECT_EQ(RecordingLearner(fileName).ALPHA, 0.3);
}

class SignalsRemove : public SignalTest {};

TEST_F(SignalsRemove, GivesTheProcessItsMaskBack) {
  block({SIGHUP});
  { const RecordingLearner learner(fileName); }
  EXPECT_EQ(blocked(), Signals{SIGHUP});
}

TEST_F(SignalsRemove, LeavesEachSignalBlockedThatWasBlockedBefore) {
  for (const int signal : STEERING_SIGNALS) {
    block({signal});
    { const RecordingLearner learner(fileName); }
    EXPECT_EQ(blocked(), Signals{signal});
    unblock({signal});
  }
}

TEST_F(SignalsRemove, LeavesAllFourBlockedThatWereBlockedBefore) {
  block(STEERING_SIGNALS);
  { const RecordingLearner learner(fileName); }
  EXPECT_EQ(blocked(), STEERING_SIGNALS);
}

TEST_F(SignalsRemove, TakesWhatWasBlockedBeforeOutOfItsSet) {
  block({SIGINT, SIGHUP});
  RecordingLearner learner(fileName);
  learner.removeSignalHandler();
  EXPECT_EQ(membersOf(learner.newSigSet), (Signals{SIGTERM, SIGUSR1, SIGUSR2}));
  EXPECT_EQ(membersOf(learner.oldSigSet), (Signals{SIGHUP, SIGINT}));
}

TEST_F(SignalsRemove, KeepsWhatTheApplicationBlockedOrUnblockedMeanwhile) {
  block({SIGUSR1, SIGHUP});
  {
    const RecordingLearner learner(fileName);
    block({SIGALRM});
    unblock({SIGUSR1, SIGHUP, SIGINT});
  }
  EXPECT_EQ(blocked(), Signals{SIGALRM});
}

TEST_F(SignalsRemove, AsksThePlatformOnceToUnblock) {
  block({SIGUSR2});
  auto learner = std::make_unique<RecordingLearner>(fileName);
  int calls = 0;
  const FakeSigprocmask fake([&](int how, const sigset_t* set, sigset_t* old) {
    ++calls;
    EXPECT_EQ(how, SIG_UNBLOCK);
    EXPECT_EQ(membersOf(*set), (Signals{SIGINT, SIGTERM, SIGUSR1}));
    EXPECT_EQ(old, nullptr);
    return realSigprocmask(how, set, old);
  });
  learner.reset();
  EXPECT_EQ(calls, 1);
}

TEST_F(SignalsRemove, FailedIsReportedAndLeavesTheMaskAsItIs) {
  {
    auto learner = std::make_unique<RecordingLearner>(fileName);
    const FakeSigprocmask fake(failWith(EINVAL));
    learner.reset();
  }
  EXPECT_THAT(saidIn(reports.takeErrors()),
              ElementsAre("removeSignalHandler: sigprocmask --> " + errnoMessage(EINVAL, " - ")));
  EXPECT_EQ(reports.informationText(), "");
  EXPECT_EQ(blocked(), STEERING_SIGNALS);
  unblock(STEERING_SIGNALS);
}

TEST_F(SignalsRemove, ComesAfterTheDestructorsOfDerivedClasses) {
  class Last : public RecordingLearner {
   public:
    Last(const std::string& name, Signals& seen) : RecordingLearner(name), blockedAtEnd(seen) {}
    ~Last() override { blockedAtEnd = blocked(); }

   private:
    Signals& blockedAtEnd;
  };
  Signals blockedAtEnd;
  { const Last learner(fileName, blockedAtEnd); }
  EXPECT_EQ(blockedAtEnd, STEERING_SIGNALS);
  EXPECT_THAT(blocked(), IsEmpty());
}

TEST_F(SignalsRemove, DeliversWhatArrivedAndWasNeverPolled) {
  {
    const RecordingLearner learner(fileName);
    raise(SIGUSR1);
    kill(getpid(), SIGTERM);
    EXPECT_THAT(delivered, IsEmpty());
  }
  EXPECT_EQ(Signals(delivered.begin(), delivered.end()), (Signals{SIGTERM, SIGUSR1}));
  EXPECT_EQ(delivered.size(), 2u);
  EXPECT_THAT(reports.information(), IsEmpty());
}

TEST_F(SignalsRemove, DeliversNothingThatWasPolled) {
  {
    RecordingLearner learner(fileName);
    raise(SIGTERM);
    learner.checkPendingSignals();
  }
  EXPECT_THAT(delivered, IsEmpty());
}

TEST_F(SignalsRemove, DeliversNothingThatStaysBlocked) {
  block({SIGUSR1});
  {
    const RecordingLearner learner(fileName);
    raise(SIGUSR1);
  }
  EXPECT_THAT(delivered, IsEmpty());
  EXPECT_EQ(pending(), Signals{SIGUSR1});
}

TEST_F(SignalsRemove, ASecondLearnerLeavesTheSignalsBlockedForTheFirst) {
  auto first = std::make_unique<RecordingLearner>(fileName);
  auto second = std::make_unique<RecordingLearner>(fileName);
  EXPECT_EQ(membersOf(second->oldSigSet), STEERING_SIGNALS);
  raise(SIGTERM);
  second.reset();
  EXPECT_EQ(blocked(), STEERING_SIGNALS);
  EXPECT_THAT(delivered, IsEmpty());
  first->checkPendingSignals();
  EXPECT_TRUE(first->sigTermRcvd);
  first.reset();
  EXPECT_THAT(blocked(), IsEmpty());
  EXPECT_THAT(delivered, IsEmpty());
}

TEST_F(SignalsRemove, TheFirstLearnerUnblocksTheSignalsEvenBeforeTheSecond) {
  auto first = std::make_unique<RecordingLearner>(fileName);
  auto second = std::make_unique<RecordingLearner>(fileName);
  first.reset();
  EXPECT_THAT(blocked(), IsEmpty());
  second.reset();
  EXPECT_THAT(blocked(), IsEmpty());
}

// --- The poll ---

class SignalsPoll : public SignalTest {
 protected:
  // The reactions of one poll, in order.
  std::vector<std::string> poll() {
    learner.takeCalls();
    learner.checkPendingSignals();
    std::vector<std::string> calls = learner.takeCalls();
    calls.erase(calls.begin());
    return calls;
  }

  RecordingLearner learner{fileName};
};

TEST_F(SignalsPoll, WithoutAPendingSignalDoesNothing) {
  const FakeSigwait fake([](const sigset_t*, int*) {
    ADD_FAILURE() << "waits for a signal";
    return EINVAL;
  });
  EXPECT_THAT(poll(), IsEmpty());
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(SignalsPoll, ReactsToSigIntByStoppingAfterTheStep) {
  raise(SIGINT);
  EXPECT_THAT(poll(), ElementsAre("sigInt"));
  EXPECT_TRUE(learner.sigIntRcvd);
  EXPECT_FALSE(learner.sigTermRcvd);
  EXPECT_TRUE(learner.continueLearning);
  EXPECT_TRUE(learner.continueEpisode);
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("sigInt: SIGINT received --> stop learning (after step)"));
}

TEST_F(SignalsPoll, ReactsToSigTermByStoppingAfterTheEpisode) {
  raise(SIGTERM);
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
  EXPECT_TRUE(learner.sigTermRcvd);
  EXPECT_FALSE(learner.sigIntRcvd);
  EXPECT_TRUE(learner.continueLearning);
  EXPECT_TRUE(learner.continueEpisode);
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("sigTerm: SIGTERM received --> stop learning (after episode)"));
}

TEST_F(SignalsPoll, ReactsToSigUsr1ByLoadingTheConfigurationAsTheApplicationDefinesIt) {
  writeFile(fileName, "ALPHA 0.3\n");
  raise(SIGUSR1);
  EXPECT_THAT(poll(), ElementsAre("sigUsr1", "loadConf"));
  EXPECT_EQ(learner.ALPHA, 0.3);
  EXPECT_FALSE(learner.sigTermRcvd);
  EXPECT_FALSE(learner.sigIntRcvd);
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("sigUsr1: SIGUSR1 received --> load configuration"));
}

TEST_F(SignalsPoll, SpeaksOfSigUsr1BeforeItLoadsTheConfiguration) {
  std::filesystem::remove(fileName);
  raise(SIGUSR1);
  EXPECT_THAT(poll(), ElementsAre("sigUsr1", "loadConf", "saveConf"));
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("sigUsr1: SIGUSR1 received --> load configuration",
                          "loadConf: File (" + fileName + ") didn't exist --> create"));
}

TEST_F(SignalsPoll, ReactsToSigUsr2ByWordsAlone) {
  raise(SIGUSR2);
  EXPECT_THAT(poll(), ElementsAre("sigUsr2"));
  EXPECT_FALSE(learner.sigTermRcvd);
  EXPECT_FALSE(learner.sigIntRcvd);
  EXPECT_TRUE(learner.continueLearning);
  EXPECT_TRUE(learner.continueEpisode);
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("sigUsr2: SIGUSR2 received --> nothing implemented here!"));
}

TEST_F(SignalsPoll, TakesASignalToTheProcessAsOneToTheThread) {
  kill(getpid(), SIGTERM);
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
  EXPECT_THAT(pending(), IsEmpty());
}

TEST_F(SignalsPoll, TakesAllFourSignalsByTheirNumbers) {
  for (const int signal : {SIGTERM, SIGUSR2, SIGUSR1, SIGINT}) {
    kill(getpid(), signal);
  }
  EXPECT_THAT(poll(), ElementsAre("sigInt", "sigUsr1", "loadConf", "sigUsr2", "sigTerm"));
  EXPECT_THAT(pending(), IsEmpty());
  EXPECT_THAT(membersOf(learner.pendingSignals), IsEmpty());
  EXPECT_THAT(poll(), IsEmpty());
}

TEST_F(SignalsPoll, TakesEveryPairOfSignals) {
  const std::vector<std::pair<int, std::string>> reactions = {
      {SIGINT, "sigInt"}, {SIGUSR1, "sigUsr1"}, {SIGUSR2, "sigUsr2"}, {SIGTERM, "sigTerm"}};
  for (const auto& [first, firstReaction] : reactions) {
    for (const auto& [second, secondReaction] : reactions) {
      if (first < second) {
        raise(second);
        raise(first);
        std::vector<std::string> expected = {firstReaction, secondReaction};
        if (first == SIGUSR1) {
          expected.insert(expected.begin() + 1, "loadConf");
        } else if (second == SIGUSR1) {
          expected.emplace_back("loadConf");
        }
        EXPECT_EQ(poll(), expected);
        EXPECT_THAT(pending(), IsEmpty());
      }
    }
  }
}

TEST_F(SignalsPoll, CountsASignalSentTwiceAsOne) {
  kill(getpid(), SIGUSR1);
  kill(getpid(), SIGUSR1);
  EXPECT_THAT(poll(), ElementsAre("sigUsr1", "loadConf"));
  EXPECT_THAT(poll(), IsEmpty());
}

TEST_F(SignalsPoll, TakesASignalAgainThatComesAgain) {
  raise(SIGUSR2);
  EXPECT_THAT(poll(), ElementsAre("sigUsr2"));
  raise(SIGUSR2);
  EXPECT_THAT(poll(), ElementsAre("sigUsr2"));
}

TEST_F(SignalsPoll, LeavesASignalThatArrivesMeanwhileForTheNextPoll) {
  learner.inSigUsr1 = [] { raise(SIGTERM); };
  raise(SIGUSR1);
  EXPECT_THAT(poll(), ElementsAre("sigUsr1", "loadConf"));
  EXPECT_FALSE(learner.sigTermRcvd);
  EXPECT_EQ(pending(), Signals{SIGTERM});
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
}

TEST_F(SignalsPoll, LeavesTheSameSignalThatArrivesAgainMeanwhileForTheNextPoll) {
  learner.inSigUsr1 = [this] {
    learner.inSigUsr1 = [] {};
    raise(SIGUSR1);
  };
  raise(SIGUSR1);
  EXPECT_THAT(poll(), ElementsAre("sigUsr1", "loadConf"));
  EXPECT_THAT(poll(), ElementsAre("sigUsr1", "loadConf"));
  EXPECT_THAT(poll(), IsEmpty());
}

TEST_F(SignalsPoll, CallsTheReactionsThatTheApplicationOverrides) {
  class Deaf : public RecordingLearner {
   public:
    using RecordingLearner::RecordingLearner;
    void sigInt() override { calls.emplace_back("my sigInt"); }
    void sigTerm() override { calls.emplace_back("my sigTerm"); }
    void sigUsr1() override { calls.emplace_back("my sigUsr1"); }
    void sigUsr2() override { calls.emplace_back("my sigUsr2"); }
  };
  Deaf deaf(fileName);
  for (const int signal : STEERING_SIGNALS) {
    raise(signal);
  }
  deaf.checkPendingSignals();
  EXPECT_THAT(deaf.calls, ElementsAre("checkPendingSignals", "my sigInt", "my sigUsr1",
                                      "my sigUsr2", "my sigTerm"));
  EXPECT_FALSE(deaf.sigIntRcvd);
  EXPECT_FALSE(deaf.sigTermRcvd);
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(SignalsPoll, OfEitherOfTwoLearnersTakesTheSignal) {
  RecordingLearner other(fileName);
  raise(SIGTERM);
  other.checkPendingSignals();
  EXPECT_TRUE(other.sigTermRcvd);
  EXPECT_THAT(poll(), IsEmpty());
  EXPECT_FALSE(learner.sigTermRcvd);
}

// --- The poll and signals of the application's own ---

TEST_F(SignalsPoll, LeavesASignalOfTheApplicationAlone) {
  block({SIGHUP});
  raise(SIGHUP);
  EXPECT_THAT(poll(), IsEmpty());
  EXPECT_EQ(pending(), Signals{SIGHUP});
  EXPECT_EQ(membersOf(learner.pendingSignals), Signals{SIGHUP});
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(SignalsPoll, ReportsASignalOfTheApplicationThatIsTakenFirst) {
  block({SIGHUP});
  raise(SIGHUP);
  raise(SIGINT);
  EXPECT_THAT(poll(), ElementsAre("sigInt"));
  EXPECT_THAT(saidIn(reports.takeErrors()), ElementsAre("checkPendingSignals: Unknown signal = 1"));
  EXPECT_THAT(reports.information(), ElementsAre("SIGINT received --> stop learning (after step)"));
  EXPECT_THAT(pending(), IsEmpty());
  EXPECT_THAT(membersOf(learner.pendingSignals), IsEmpty());
}

TEST_F(SignalsPoll, LeavesASignalOfTheApplicationThatComesAfterTheLastOfTheFour) {
  block({SIGALRM});
  raise(SIGALRM);
  raise(SIGINT);
  raise(SIGUSR2);
  EXPECT_THAT(poll(), ElementsAre("sigInt", "sigUsr2"));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(pending(), Signals{SIGALRM});
  EXPECT_EQ(membersOf(learner.pendingSignals), Signals{SIGALRM});
}

TEST_F(SignalsPoll, ReportsEachSignalOfTheApplicationThatLiesBetweenTheFour) {
  block({SIGHUP, SIGALRM});
  for (const int signal : {SIGTERM, SIGALRM, SIGHUP, SIGUSR1}) {
    raise(signal);
  }
  EXPECT_THAT(poll(), ElementsAre("sigUsr1", "loadConf", "sigTerm"));
  EXPECT_THAT(reports.errors(), ElementsAre("Unknown signal = 1", "Unknown signal = 14"));
  EXPECT_THAT(pending(), IsEmpty());
}

// --- The poll and sigwait() ---

TEST_F(SignalsPoll, WaitsOncePerSignalForTheSignalsThatAreLeft) {
  std::vector<Signals> awaited;
  std::vector<int> numbersBefore;
  const FakeSigwait fake([&](const sigset_t* set, int* number) {
    awaited.push_back(membersOf(*set));
    numbersBefore.push_back(*number);
    return realSigwait(set, number);
  });
  raise(SIGINT);
  raise(SIGUSR1);
  raise(SIGTERM);
  EXPECT_THAT(poll(), ElementsAre("sigInt", "sigUsr1", "loadConf", "sigTerm"));
  EXPECT_THAT(awaited, ElementsAre(Signals{SIGINT, SIGUSR1, SIGTERM}, Signals{SIGUSR1, SIGTERM},
                                   Signals{SIGTERM}));
  EXPECT_THAT(numbersBefore, ElementsAre(0, 0, 0));
}

TEST_F(SignalsPoll, TakesTheSignalsInWhateverOrderThePlatformChooses) {
  const FakeSigwait fake([](const sigset_t* set, int* number) {
    const sigset_t last = setOf({*membersOf(*set).rbegin()});
    return realSigwait(&last, number);
  });
  for (const int signal : STEERING_SIGNALS) {
    raise(signal);
  }
  EXPECT_THAT(poll(), ElementsAre("sigTerm", "sigUsr2", "sigUsr1", "loadConf", "sigInt"));
  EXPECT_THAT(pending(), IsEmpty());
}

// Fails with an error number for the first calls, then works; counts the calls.
class FailingSigwait {
 public:
  FailingSigwait(int failures, int number)
      : fake([this, failures, number](const sigset_t* set, int* signal) {
          if (++calls > failures) {
            return realSigwait(set, signal);
          }
          onFailure();
          errno = number;
          return EAGAIN;
        }) {}

  int calls = 0;
  std::function<void()> onFailure = [] {};

 private:
  const FakeSigwait fake;
};

TEST_F(SignalsPoll, ReportsAFailedWaitWithErrnoAndTriesAgain) {
  FailingSigwait sigwaitOfThree(3, EINTR);
  raise(SIGTERM);
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
  EXPECT_EQ(sigwaitOfThree.calls, 4);
  const std::string failure = "checkPendingSignals: " + errnoMessage(EINTR, " --> ");
  EXPECT_THAT(saidIn(reports.takeErrors()), ElementsAre(failure, failure, failure));
  EXPECT_THAT(reports.information(),
              ElementsAre("SIGTERM received --> stop learning (after episode)"));
}

TEST_F(SignalsPoll, TriesAgainAfterAFailedWaitWithoutLookingForNewSignals) {
  FailingSigwait sigwaitOfTwo(2, EINVAL);
  sigwaitOfTwo.onFailure = [] { raise(SIGINT); };
  raise(SIGTERM);
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
  EXPECT_FALSE(learner.sigIntRcvd);
  EXPECT_EQ(pending(), Signals{SIGINT});
  EXPECT_THAT(poll(), ElementsAre("sigInt"));
}

TEST_F(SignalsPoll, StillWorksAfter999FailedWaits) {
  FailingSigwait sigwaitOf999(999, EINVAL);
  raise(SIGTERM);
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
  EXPECT_EQ(sigwaitOf999.calls, 1000);
  EXPECT_EQ(reports.errors().size(), 999u);
}

TEST_F(SignalsPoll, GivesUpAfter1000FailedWaitsUntilTheNextPoll) {
  FailingSigwait sigwaitOf1000(1000, EINVAL);
  raise(SIGTERM);
  EXPECT_THAT(poll(), IsEmpty());
  EXPECT_EQ(sigwaitOf1000.calls, 1000);
  EXPECT_EQ(reports.errors(), std::vector<std::string>(1000, errnoMessage(EINVAL, " --> ")));
  EXPECT_EQ(pending(), Signals{SIGTERM});
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
}

TEST_F(SignalsPoll, ThatAlwaysFailsDoesNotKeepTheLearnerFromLearning) {
  FailingSigwait never(1000000, EINVAL);
  learner.stepsOfAnEpisode = 2;
  raise(SIGTERM);
  learner.controlLoop();
  EXPECT_EQ(never.calls, 2000);
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 2"));
  sigwaitPtr = nullptr;
  EXPECT_THAT(poll(), ElementsAre("sigTerm"));
}

// --- The loop ---

class SignalsInLoop : public SignalTest {
 protected:
  SignalsInLoop() {
    learner.stepsOfAnEpisode = 4;
    learner.lastEpisode = 9;
  }

  // Sends the signals while the numbered step of the first episode runs.
  void sendInStep(int step, const Signals& signals) {
    learner.inStep = [this, step, signals] {
      if (learner.episodes == 1 && learner.steps == step) {
        for (const int signal : signals) {
          raise(signal);
        }
      }
    };
  }

  RecordingLearner learner{fileName};
};

TEST_F(SignalsInLoop, SigIntEndsLearningAfterTheStep) {
  sendInStep(2, {SIGINT});
  learner.controlLoop();
  EXPECT_THAT(learner.calls,
              ElementsAre("checkValueFunction", "initEpisode", "step", "checkPendingSignals",
                          "step", "checkPendingSignals", "sigInt", "finishEpisode"));
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("sigInt: SIGINT received --> stop learning (after step)",
                          "finishEpisode: episode = 1  steps = 2"));
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(SignalsInLoop, SigTermEndsLearningAfterTheEpisode) {
  sendInStep(2, {SIGTERM});
  learner.controlLoop();
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("sigTerm: SIGTERM received --> stop learning (after episode)",
                          "finishEpisode: episode = 1  steps = 4"));
}

TEST_F(SignalsInLoop, SigTermInTheLastStepEndsLearningWithThatEpisode) {
  sendInStep(4, {SIGTERM});
  learner.controlLoop();
  EXPECT_THAT(
      reports.information(),
      ElementsAre("SIGTERM received --> stop learning (after episode)", "episode = 1  steps = 4"));
}

TEST_F(SignalsInLoop, SigIntInTheLastStepFinishesTheEpisodeOnce) {
  sendInStep(4, {SIGINT});
  learner.controlLoop();
  EXPECT_THAT(reports.information(), ElementsAre("SIGINT received --> stop learning (after step)",
                                                 "episode = 1  steps = 4"));
}

TEST_F(SignalsInLoop, SigIntAfterSigTermDoesNotAwaitTheEndOfTheEpisode) {
  learner.inStep = [this] { raise(learner.steps == 1 ? SIGTERM : SIGINT); };
  learner.controlLoop();
  EXPECT_THAT(
      reports.information(),
      ElementsAre("SIGTERM received --> stop learning (after episode)",
                  "SIGINT received --> stop learning (after step)", "episode = 1  steps = 2"));
}

TEST_F(SignalsInLoop, SigUsr1ChangesTheParametersBetweenTwoSteps) {
  std::vector<double> stepSizes;
  learner.lastEpisode = 1;
  learner.inStep = [&] {
    stepSizes.push_back(learner.ALPHA);
    if (learner.steps == 2) {
      writeFile(fileName, "ALPHA 0.25\n");
      raise(SIGUSR1);
      EXPECT_EQ(learner.ALPHA, 0.1);
    }
  };
  learner.controlLoop();
  EXPECT_THAT(stepSizes, ElementsAre(0.1, 0.1, 0.25, 0.25));
  EXPECT_THAT(reports.information(),
              ElementsAre("SIGUSR1 received --> load configuration", "episode = 1  steps = 4"));
}

TEST_F(SignalsInLoop, SigUsr1AndSigTermAreTakenInOnePoll) {
  writeFile(fileName, "ALPHA 0.25\n");
  sendInStep(1, {SIGUSR1, SIGTERM});
  learner.controlLoop();
  EXPECT_EQ(learner.ALPHA, 0.25);
  EXPECT_THAT(learner.calls,
              ElementsAre("checkValueFunction", "initEpisode", "step", "checkPendingSignals",
                          "sigUsr1", "loadConf", "sigTerm", "step", "checkPendingSignals", "step",
                          "checkPendingSignals", "step", "checkPendingSignals", "finishEpisode"));
}

TEST_F(SignalsInLoop, ASignalSentBeforeTheLoopIsTakenAfterTheFirstStep) {
  raise(SIGINT);
  learner.controlLoop();
  EXPECT_THAT(learner.calls, ElementsAre("checkValueFunction", "initEpisode", "step",
                                         "checkPendingSignals", "sigInt", "finishEpisode"));
}

TEST_F(SignalsInLoop, ASignalSentBetweenEpisodesIsTakenAfterTheFirstStepOfTheNext) {
  learner.stepsOfAnEpisode = 2;
  learner.inFinishEpisode = [this] {
    if (learner.episodes == 1) {
      raise(SIGINT);
    }
  };
  learner.controlLoop();
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 2",
                                                 "SIGINT received --> stop learning (after step)",
                                                 "episode = 2  steps = 1"));
}

TEST_F(SignalsInLoop, AStopBySignalLastsForTheNextCall) {
  sendInStep(1, {SIGTERM});
  learner.controlLoop();
  learner.takeCalls();
  reports.informationText();
  learner.controlLoop();
  EXPECT_THAT(learner.calls, ElementsAre("checkValueFunction"));
  EXPECT_EQ(reports.informationText(), "");
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(SignalsInLoop, AreNotLookedAtByALearnerWithoutValueFunction) {
  learner.hasValueFunction = false;
  raise(SIGTERM);
  learner.controlLoop();
  EXPECT_EQ(pending(), Signals{SIGTERM});
  EXPECT_FALSE(learner.sigTermRcvd);
  learner.checkPendingSignals();
}

TEST_F(SignalsInLoop, DoNotInterruptTheProcessWhileALearnerLives) {
  for (const int signal : STEERING_SIGNALS) {
    raise(signal);
  }
  learner.controlLoop();
  EXPECT_THAT(delivered, IsEmpty());
}

// --- As an operator does it: from another process ---

// A point at which a child process stands still until its parent lets it go on.
class Gate {
 public:
  Gate() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
  ~Gate() {
    close(ends[PARENT]);
    close(ends[CHILD]);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  // For the child: tells the parent and stands still. A child whose parent is gone ends.
  void pass() {
    signal(CHILD);
    if (!await(CHILD)) {
      _exit(EXIT_FAILURE);
    }
  }

  // For the parent: true when the child stands at the gate, false when it has ended instead.
  bool awaitChild() { return await(PARENT); }

  // For the parent: lets the child go on.
  void release() { signal(PARENT); }

  // Each side lets go of the other's end, so that it notices when the other is gone.
  void becomeChild() { leave(PARENT); }
  void becomeParent() { leave(CHILD); }

 private:
  static const int PARENT = 0;
  static const int CHILD = 1;

  void signal(int side) {
    const char byte = 0;
    send(ends[side], &byte, 1, MSG_NOSIGNAL);
  }

  bool await(int side) {
    char byte = 0;
    return recv(ends[side], &byte, 1, 0) == 1;
  }

  void leave(int side) {
    close(ends[side]);
    ends[side] = -1;
  }

  int ends[2] = {-1, -1};
};

// A process that does what it is given, and whose reports and end can be seen.
class Child {
 public:
  explicit Child(const std::function<void(Gate&)>& work) {
    // What is still in stdio's buffers would come out of the child, too.
    std::fflush(nullptr);
    child = fork();
    if (child == 0) {
      run(work);
    }
    EXPECT_GT(child, 0);
    gate.becomeParent();
  }

  ~Child() {
    if (child > 0) {
      kill(child, SIGKILL);
      wait();
    }
  }

  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // Awaits the child at its gate, does something meanwhile, sends the child the signals and lets it
  // go on.
  void atGate(
      const std::vector<int>& signals, const std::function<void()>& meanwhile = [] {}) {
    ASSERT_TRUE(gate.awaitChild()) << "the child has ended";
    meanwhile();
    for (const int signal : signals) {
      EXPECT_EQ(kill(child, signal), 0);
    }
    gate.release();
  }

  // Lets the child pass its gate some times.
  void pass(int times) {
    for (int i = 0; i < times; ++i) {
      atGate({});
    }
  }

  // Awaits the end of the child: "exit 0", or the number of the signal that killed it.
  std::string end() {
    if (gate.awaitChild()) {
      ADD_FAILURE() << "the child stands at its gate again";
      kill(child, SIGKILL);
    }
    const int status = wait();
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit " + std::to_string(WEXITSTATUS(status));
  }

  // What the child has reported, on standard output and on standard error.
  std::vector<std::string> information() const {
    Reports reports;
    std::cout << readFile(outName);
    return saidIn(reports.takeInformation());
  }

  std::vector<std::string> errors() const {
    Reports reports;
    std::cerr << readFile(errName);
    return saidIn(reports.takeErrors());
  }

 private:
  [[noreturn]] void run(const std::function<void(Gate&)>& work) {
    // Ends a child that hangs.
    alarm(60);
    gate.becomeChild();
    for (const int signal : STEERING_SIGNALS) {
      std::signal(signal, SIG_DFL);
    }
    unblock({SIGALRM});
    unblock(STEERING_SIGNALS);
    if (std::freopen(outName.c_str(), "w", stdout) == nullptr ||
        std::freopen(errName.c_str(), "w", stderr) == nullptr) {
      _exit(EXIT_FAILURE);
    }
    work(gate);
    _exit(EXIT_SUCCESS);
  }

  int wait() {
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    child = -1;
    return status;
  }

  TemporaryDirectory directory;
  const std::string outName = directory.file("out");
  const std::string errName = directory.file("err");
  Gate gate;
  pid_t child = -1;
};

// Walks from state 0 to state 4, for a reward of 1 each step; stands at the gate in each step.
class Walker : public TD {
 public:
  Walker(const std::string& configuration, Gate& gateOfSteps)
      : TD(configuration), gate(gateOfSteps) {
    State* const state = new State;
    state->registerVariable("place", 0, 4);
    svfPtr = new StateLookupTable(state);
  }

  void save(const std::string& valuesName) const { svfPtr->save(valuesName); }

 protected:
  void setInitialState() override { moveTo(0); }
  void takeAction() override { moveTo(place + 1); }
  const bool observeState() override {
    gate.pass();
    return place < 4;
  }
  const double calculateReward() override { return 1.0; }

 private:
  void moveTo(int newPlace) {
    place = newPlace;
    svfPtr->getStatePtr()->setValueInt(0, place);
  }

  Gate& gate;
  int place = 0;
};

class SignalsFromOperator : public ::testing::Test {
 protected:
  // With neither traces nor discount a state that is left for the first time learns the step size.
  SignalsFromOperator() { writeFile(configuration, "ALPHA 0.5\nGAMMA 0\nTRACES NONE\n"); }

  void walk(Gate& gate) {
    Walker walker(configuration, gate);
    walker.controlLoop();
    walker.save(values);
    walker.saveConf();
  }

  // What the child has learnt of the states 0 to 4.
  std::vector<double> learntValues() {
    StateLookupTable table(values);
    std::vector<double> list;
    if (table.getStatePtr() == nullptr) {
      return list;
    }
    for (int place = 0; place <= 4; ++place) {
      table.getStatePtr()->setValueInt(0, place);
      table.setState();
      list.push_back(table.getStateValue());
    }
    return list;
  }

  TemporaryDirectory directory;
  const std::string configuration = directory.file("walker.conf");
  const std::string values = directory.file("walker.values");
};

TEST_F(SignalsFromOperator, SigIntStopsTheLearnerAfterTheStep) {
  Child child([this](Gate& gate) { walk(gate); });
  child.pass(1);
  child.atGate({SIGINT});
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigInt: SIGINT received --> stop learning (after step)",
                          "finishEpisode: episode = 1  steps = 2"));
  EXPECT_THAT(child.errors(), IsEmpty());
  EXPECT_THAT(learntValues(), ElementsAre(0.5, 0.5, 0.0, 0.0, 0.0));
}

TEST_F(SignalsFromOperator, SigTermStopsTheLearnerAfterTheEpisode) {
  Child child([this](Gate& gate) { walk(gate); });
  child.pass(4);
  child.pass(1);
  child.atGate({SIGTERM});
  child.pass(2);
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("finishEpisode: episode = 1  steps = 4",
                          "sigTerm: SIGTERM received --> stop learning (after episode)",
                          "finishEpisode: episode = 2  steps = 4"));
  EXPECT_THAT(child.errors(), IsEmpty());
  // The second visit learns half of what is missing.
  EXPECT_THAT(learntValues(), ElementsAre(0.75, 0.75, 0.75, 0.75, 0.0));
}

TEST_F(SignalsFromOperator, SigUsr2IsAcknowledgedAndLearningGoesOn) {
  Child child([this](Gate& gate) { walk(gate); });
  child.atGate({SIGUSR2});
  child.pass(1);
  child.atGate({SIGUSR2});
  child.atGate({SIGTERM});
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigUsr2: SIGUSR2 received --> nothing implemented here!",
                          "sigUsr2: SIGUSR2 received --> nothing implemented here!",
                          "sigTerm: SIGTERM received --> stop learning (after episode)",
                          "finishEpisode: episode = 1  steps = 4"));
  EXPECT_THAT(child.errors(), IsEmpty());
  EXPECT_THAT(learntValues(), ElementsAre(0.5, 0.5, 0.5, 0.5, 0.0));
}

TEST_F(SignalsFromOperator, SigUsr1LoadsTheChangedConfigurationInTheMiddleOfAnEpisode) {
  Child child([this](Gate& gate) { walk(gate); });
  child.pass(1);
  // The step in which the signal arrives learns with the old step size to its end.
  child.atGate({SIGUSR1}, [this] {
    writeFile(configuration, "# slower\nALPHA 0.25\nEPSILON 0.75\n TRACES REPLACING\n");
  });
  child.pass(1);
  child.atGate({SIGTERM});
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigUsr1: SIGUSR1 received --> load configuration",
                          "sigTerm: SIGTERM received --> stop learning (after episode)",
                          "finishEpisode: episode = 1  steps = 4"));
  EXPECT_THAT(child.errors(), ElementsAre("loadConf: spaces at begin of line:  TRACES REPLACING"));
  EXPECT_THAT(learntValues(), ElementsAre(0.5, 0.5, 0.25, 0.25, 0.0));
  EXPECT_EQ(readFile(configuration),
            "ALPHA 0.25\n"
            "LAMBDA 0.5\n"
            "GAMMA 0\n"
            "ACTION_SELECTION GREEDY\n"
            "EPSILON 0.75\n"
            "TEMPERATURE 0.5\n"
            "TRACES NONE\n"
            "TRACE_VALUE 1\n");
}

TEST_F(SignalsFromOperator, SigUsr1WritesTheConfigurationOutAfterItsFileIsRemoved) {
  Child child([this](Gate& gate) { walk(gate); });
  std::string written;
  child.pass(1);
  child.atGate({SIGUSR1}, [this] { std::filesystem::remove(configuration); });
  child.atGate({SIGINT}, [&] { written = readFile(configuration); });
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigUsr1: SIGUSR1 received --> load configuration",
                          "loadConf: File (" + configuration + ") didn't exist --> create",
                          "sigInt: SIGINT received --> stop learning (after step)",
                          "finishEpisode: episode = 1  steps = 3"));
  EXPECT_THAT(learntValues(), ElementsAre(0.5, 0.5, 0.5, 0.0, 0.0));
  EXPECT_EQ(written,
            "ALPHA 0.5\n"
            "LAMBDA 0.5\n"
            "GAMMA 0\n"
            "ACTION_SELECTION GREEDY\n"
            "EPSILON 0.1\n"
            "TEMPERATURE 0.5\n"
            "TRACES NONE\n"
            "TRACE_VALUE 1\n");
}

TEST_F(SignalsFromOperator, SigTermAndSigUsr1AtOnceAreBothObeyed) {
  Child child([this](Gate& gate) { walk(gate); });
  child.atGate({SIGTERM, SIGUSR1}, [this] { writeFile(configuration, "ALPHA 0.25\n"); });
  child.pass(3);
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigUsr1: SIGUSR1 received --> load configuration",
                          "sigTerm: SIGTERM received --> stop learning (after episode)",
                          "finishEpisode: episode = 1  steps = 4"));
  EXPECT_THAT(child.errors(), IsEmpty());
}

TEST_F(SignalsFromOperator, AllFourAtOnceAreTakenByTheirNumbers) {
  Child child([this](Gate& gate) { walk(gate); });
  child.atGate({SIGTERM, SIGUSR2, SIGUSR1, SIGINT});
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigInt: SIGINT received --> stop learning (after step)",
                          "sigUsr1: SIGUSR1 received --> load configuration",
                          "sigUsr2: SIGUSR2 received --> nothing implemented here!",
                          "sigTerm: SIGTERM received --> stop learning (after episode)",
                          "finishEpisode: episode = 1  steps = 1"));
  EXPECT_THAT(child.errors(), IsEmpty());
}

TEST_F(SignalsFromOperator, ASignalSentTwiceInAStepCountsOnce) {
  Child child([this](Gate& gate) { walk(gate); });
  child.atGate({SIGUSR2, SIGUSR2, SIGUSR2});
  child.atGate({SIGINT, SIGINT});
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigUsr2: SIGUSR2 received --> nothing implemented here!",
                          "sigInt: SIGINT received --> stop learning (after step)",
                          "finishEpisode: episode = 1  steps = 2"));
}

TEST_F(SignalsFromOperator, ASignalSentBeforeTheLoopIsTakenAfterTheFirstStep) {
  Child child([this](Gate& gate) {
    Walker walker(configuration, gate);
    gate.pass();
    walker.controlLoop();
  });
  child.atGate({SIGINT});
  child.pass(1);
  EXPECT_EQ(child.end(), "exit 0");
  EXPECT_THAT(child.information(),
              ElementsAre("sigInt: SIGINT received --> stop learning (after step)",
                          "finishEpisode: episode = 1  steps = 1"));
}

TEST_F(SignalsFromOperator, ASignalThatIsNeverPolledKillsWhenTheLearnerIsDestroyed) {
  for (const int signal : STEERING_SIGNALS) {
    Child child([this](Gate& gate) {
      auto walker = std::make_unique<Walker>(configuration, gate);
      gate.pass();
      std::cout << "File: Quarnel   Function: child   Line: 1    --> still alive" << std::endl;
      walker.reset();
      std::cout << "File: Quarnel   Function: child   Line: 2    --> alive for ever" << std::endl;
    });
    child.atGate({signal});
    EXPECT_EQ(child.end(), "signal " + std::to_string(signal));
    EXPECT_THAT(child.information(), ElementsAre("child: still alive"));
    EXPECT_THAT(child.errors(), IsEmpty());
  }
}

TEST_F(SignalsFromOperator, ASignalAfterTheLastPollKillsWhenTheLearnerIsDestroyed) {
  Child child([this](Gate& gate) {
    Walker walker(configuration, gate);
    walker.controlLoop();
    gate.pass();
  });
  child.atGate({SIGINT});
  child.atGate({SIGTERM});
  EXPECT_EQ(child.end(), "signal 15");
  EXPECT_THAT(child.information(),
              ElementsAre("sigInt: SIGINT received --> stop learning (after step)",
                          "finishEpisode: episode = 1  steps = 1"));
}

TEST_F(SignalsFromOperator, ASignalThatTheApplicationBlocksItselfDoesNotKillInTheEnd) {
  Child child([this](Gate& gate) {
    block({SIGINT});
    auto walker = std::make_unique<Walker>(configuration, gate);
    gate.pass();
    walker.reset();
    gate.pass();
  });
  child.atGate({SIGINT});
  child.atGate({SIGINT});
  EXPECT_EQ(child.end(), "exit 0");
}

TEST_F(SignalsFromOperator, ASignalAfterTheLearnersLifeKillsAtOnce) {
  Child child([this](Gate& gate) {
    { const Walker walker(configuration, gate); }
    gate.pass();
  });
  child.atGate({SIGTERM});
  EXPECT_EQ(child.end(), "signal 15");
}

}  // namespace
