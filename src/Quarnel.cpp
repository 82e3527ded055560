#include "Quarnel.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <string_view>

#include "Allocation.h"
#include "RandomDraw.h"

namespace {

const int STEERING_SIGNALS[] = {SIGUSR1, SIGUSR2, SIGTERM, SIGINT};

const int LINE_SIZE = 512;

// No key is near this long; a device that never ends a word must not be read for ever.
const int WORD_LIMIT = 1 << 20;

// A poll tests the same set again after a failed sigwait(). No poll needs as many rounds as this; one
// in which sigwait() never succeeds leaves its signals to the next.
const int POLL_ROUNDS = 1000;

// A number that is no enumerator is written as the last of the words.
const char* wordFor(ACTION_SELECTION_TYPE selection) {
  return selection == GREEDY           ? "GREEDY"
         : selection == EPSILON_GREEDY ? "EPSILON_GREEDY"
                                       : "SOFTMAX";
}

const char* wordFor(TRACE_TYPE traces) {
  return traces == REPLACING ? "REPLACING" : traces == ACCUMULATING ? "ACCUMULATING" : "NONE";
}

void parseWord(std::string_view word, ACTION_SELECTION_TYPE& selection,
               const QuarnelUtility::Place& place) {
  for (const ACTION_SELECTION_TYPE known : {GREEDY, EPSILON_GREEDY, SOFTMAX}) {
    if (word == wordFor(known)) {
      selection = known;
      return;
    }
  }
  QUARNEL_ERROR_AT(place, "Unknown ActionSelection Algorithm " << word);
}

void parseWord(std::string_view word, TRACE_TYPE& traces, const QuarnelUtility::Place& place) {
  for (const TRACE_TYPE known : {REPLACING, ACCUMULATING, NONE}) {
    if (word == wordFor(known)) {
      traces = known;
      return;
    }
  }
  QUARNEL_ERROR_AT(place, "Unknown Tracetype " << word);
}

void reportMaskFailure(const QuarnelUtility::Place& place) {
  const QuarnelUtility::Errno failure{errno, " - "};
  QUARNEL_ERROR_AT(place, "sigprocmask --> " << failure);
}

}  // namespace

Quarnel::Quarnel(const std::string& fileName)
    : ALPHA(0.1),
      LAMBDA(0.5),
      GAMMA(0.9),
      EPSILON(0.1),
      TRACES(REPLACING),
      TRACE_VALUE(1.0),
      ACTION_SELECTION(GREEDY),
      TEMPERATURE(0.5),
      continueLearning(true),
      continueEpisode(true),
      sigTermRcvd(false),
      sigIntRcvd(false),
      episodes(0),
      steps(0),
      value(0.0) {
  Allocation::succeeds([&] { confFileName = fileName; }, "the configuration file's name",
                       QUARNEL_PLACE);
  std::srand(1);
  Quarnel::installSignalHandler();
  Quarnel::loadConf();
}

Quarnel::~Quarnel() { Quarnel::removeSignalHandler(); }

void Quarnel::controlLoop() {
  if (!checkValueFunction()) {
    QUARNEL_ERROR("valueFunctionPtr not set --> leave controlLoop !!!");
    return;
  }
  while (continueLearning) {
    if (sigTermRcvd || sigIntRcvd) {
      return;
    }
    initEpisode();
    continueEpisode = true;
    do {
      if (sigIntRcvd) {
        break;
      }
      step();
      checkPendingSignals();
    } while (continueEpisode);
    finishEpisode();
  }
}

void Quarnel::finishEpisode() {
  QUARNEL_INFORMATION("episode = " << episodes << "  steps = " << steps);
}

const bool Quarnel::randomAction() const { return EPSILON > RandomDraw::unit(); }

void Quarnel::saveConf() const {
  const QuarnelUtility::Place place = QUARNEL_PLACE;
  Allocation::succeeds([&] { writeSettings(place); }, "the configuration file", place);
}

void Quarnel::writeSettings(const QuarnelUtility::Place& place) const {
  std::ofstream file(confFileName);
  if (!file.good()) {
    QUARNEL_INFORMATION_AT(place, "Was not able to create file (" << confFileName << ")");
    return;
  }
  file << "ALPHA " << ALPHA << std::endl
       << "LAMBDA " << LAMBDA << std::endl
       << "GAMMA " << GAMMA << std::endl
       << "ACTION_SELECTION " << wordFor(ACTION_SELECTION) << std::endl
       << "EPSILON " << EPSILON << std::endl
       << "TEMPERATURE " << TEMPERATURE << std::endl
       << "TRACES " << wordFor(TRACES) << std::endl
       << "TRACE_VALUE " << TRACE_VALUE << std::endl;
}

void Quarnel::loadConf() {
  const QuarnelUtility::Place place = QUARNEL_PLACE;
  bool opened = true;
  Allocation::succeeds([&] { opened = readSettings(place); }, "the configuration file", place);
  if (!opened) {
    QUARNEL_INFORMATION("File (" << confFileName << ") didn't exist --> create");
    saveConf();
  }
}

const bool Quarnel::readSettings(const QuarnelUtility::Place& place) {
  std::ifstream file(confFileName);
  if (!file.good()) {
    return false;
  }
  while (file.good() && file.peek() != std::ifstream::traits_type::eof()) {
    char line[LINE_SIZE] = "";
    const int first = file.peek();
    if (first == '#') {
      file.getline(line, LINE_SIZE);
    } else if (first == ' ' || first == '\t') {
      file.getline(line, LINE_SIZE);
      QUARNEL_ERROR_AT(place, "spaces at begin of line: " << line);
    } else {
      std::string key;
      file >> std::setw(WORD_LIMIT) >> key;
      if (key.size() == static_cast<std::size_t>(WORD_LIMIT)) {
        QUARNEL_ERROR_AT(place, "word of " << WORD_LIMIT << " characters or more in ("
                                           << confFileName << ") --> stop reading");
        break;
      }
      file.get();
      file.getline(line, LINE_SIZE);
      applySetting(key, line, place);
    }
  }
  return true;
}

void Quarnel::applySetting(const std::string& key, const char* text,
                           const QuarnelUtility::Place& place) {
  if (key == "ALPHA") {
    ALPHA = std::strtod(text, nullptr);
  } else if (key == "LAMBDA") {
    LAMBDA = std::strtod(text, nullptr);
  } else if (key == "GAMMA") {
    GAMMA = std::strtod(text, nullptr);
  } else if (key == "ACTION_SELECTION") {
    parseWord(text, ACTION_SELECTION, place);
  } else if (key == "EPSILON") {
    EPSILON = std::strtod(text, nullptr);
  } else if (key == "TEMPERATURE") {
    TEMPERATURE = std::strtod(text, nullptr);
  } else if (key == "TRACES") {
    parseWord(text, TRACES, place);
  } else if (key == "TRACE_VALUE") {
    TRACE_VALUE = std::strtod(text, nullptr);
  }
}

void Quarnel::installSignalHandler() {
  sigemptyset(&oldSigSet);
  sigemptyset(&newSigSet);
  for (const int signal : STEERING_SIGNALS) {
    sigaddset(&newSigSet, signal);
  }
  if (sigprocmask(SIG_BLOCK, &newSigSet, &oldSigSet) == -1) {
    reportMaskFailure(QUARNEL_PLACE);
  }
  sigemptyset(&pendingSignals);
}

void Quarnel::removeSignalHandler() {
  for (const int signal : STEERING_SIGNALS) {
    if (sigismember(&oldSigSet, signal) == 1) {
      sigdelset(&newSigSet, signal);
    }
  }
  if (sigprocmask(SIG_UNBLOCK, &newSigSet, nullptr) == -1) {
    reportMaskFailure(QUARNEL_PLACE);
  }
}

const bool Quarnel::anySignalPending() const {
#ifdef __GLIBC__
  // After nearly every step nothing at all is pending, which one question tells.
  if (sigisemptyset(&pendingSignals) == 1) {
    return false;
  }
#endif
  for (const int signal : STEERING_SIGNALS) {
    if (sigismember(&pendingSignals, signal) == 1) {
      return true;
    }
  }
  return false;
}

void Quarnel::checkPendingSignals() {
  sigpending(&pendingSignals);
  for (int round = 0; round < POLL_ROUNDS && anySignalPending(); ++round) {
    int number = 0;
    if (sigwait(&pendingSignals, &number) != 0) {
      const QuarnelUtility::Errno failure{errno, " --> "};
      QUARNEL_ERROR(failure);
      continue;
    }
    switch (number) {
      case SIGUSR1:
        sigUsr1();
        break;
      case SIGUSR2:
        sigUsr2();
        break;
      case SIGTERM:
        sigTerm();
        break;
      case SIGINT:
        sigInt();
        break;
      default:
        QUARNEL_ERROR("Unknown signal = " << number);
    }
    sigdelset(&pendingSignals, number);
  }
}

void Quarnel::sigUsr1() {
  QUARNEL_INFORMATION("SIGUSR1 received --> load configuration");
  loadConf();
}

void Quarnel::sigUsr2() { QUARNEL_INFORMATION("SIGUSR2 received --> nothing implemented here!"); }

void Quarnel::sigTerm() {
  QUARNEL_INFORMATION("SIGTERM received --> stop learning (after episode)");
  sigTermRcvd = true;
}

void Quarnel::sigInt() {
  QUARNEL_INFORMATION("SIGINT received --> stop learning (after step)");
  sigIntRcvd = true;
}
