#ifndef QUARNEL_TESTS_FAKE_VALUE_FUNCTIONS_H
#define QUARNEL_TESTS_FAKE_VALUE_FUNCTIONS_H

#include <quarnel/ActionValueFunction.h>
#include <quarnel/StateValueFunction.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

/// A representation without weights: it notes every call with its arguments, and its block in a
/// file is a text.
template <typename Interface>
class FakeRepresentation : public Interface {
 public:
  using Interface::Interface;
  using Interface::load;
  using Interface::save;

  void initWeights(const double (*initFunctionPtr)()) override {
    note("initWeights(", initFunctionPtr(), ")");
  }
  void initEligibilityTraces() override { note("initEligibilityTraces()"); }
  void updateWeights(double ALPHA, double DELTA) override {
    note("updateWeights(", ALPHA, ", ", DELTA, ")");
  }
  void updateEligibilityTraces(double GAMMA, double LAMBDA) override {
    note("updateEligibilityTraces(", GAMMA, ", ", LAMBDA, ")");
  }
  void accumulatingTraces(double VALUE) override { note("accumulatingTraces(", VALUE, ")"); }
  void replacingTraces(double VALUE) override { note("replacingTraces(", VALUE, ")"); }
  void checkWeightLimit() override { note("checkWeightLimit()"); }
  const double getMinWeight() const override {
    note("getMinWeight()");
    return -1.25;
  }
  const double getAvgWeight(bool abs) const override {
    note("getAvgWeight(", abs, ")");
    return 0.25;
  }
  const double getMaxWeight() const override {
    note("getMaxWeight()");
    return 2.25;
  }
  void setState() override { note("setState()"); }
  void storeState() override { note("storeState()"); }
  void initEpisodeStateHistory() override { note("initEpisodeStateHistory()"); }
  void valueEpisode(double amount) override { note("valueEpisode(", amount, ")"); }

  const int save(FILE* file) const override {
    note("save at ", std::ftell(file));
    const bool complete = std::fwrite(block.data(), 1, block.size(), file) == block.size();
    visit(file);
    return complete ? status : -1;
  }

  const int load(FILE* file) override {
    note("load at ", std::ftell(file));
    std::string text(block.size(), '\0');
    const bool complete = std::fread(text.data(), 1, text.size(), file) == text.size();
    if (complete) {
      block = text;
    }
    visit(file);
    return complete ? status : -1;
  }

  /// What was called, in order.
  mutable std::vector<std::string> calls;

  /// The bytes to save. As many are loaded.
  std::string block = "block";

  /// What saving and loading the block return where the file did its part.
  int status = 0;

  /// Sees the file after the block was saved or loaded.
  std::function<void(FILE*)> visitor;

 protected:
  template <typename... Parts>
  void note(const Parts&... parts) const {
    std::ostringstream call;
    (call << ... << parts);
    calls.push_back(call.str());
  }

 private:
  void visit(FILE* file) const {
    if (visitor) {
      visitor(file);
    }
  }
};

class FakeStateValueFunction : public FakeRepresentation<StateValueFunction> {
 public:
  using FakeRepresentation::FakeRepresentation;

  const double getStateValue() const override {
    note("getStateValue()");
    return 3.25;
  }
};

class FakeActionValueFunction : public FakeRepresentation<ActionValueFunction> {
 public:
  using ActionValueFunction::ACTIONS;
  using ActionValueFunction::actionValues;
  using ActionValueFunction::activeActionIndex;
  using ActionValueFunction::registeredActions;
  using FakeRepresentation::FakeRepresentation;

  /// What the value of an action is that has none in `values`.
  static constexpr double NO_VALUE = -77.0;

  const double getActionValue(int actionIndex) const override {
    note("getActionValue(", actionIndex, ")");
    const auto index = static_cast<std::size_t>(actionIndex);
    return actionIndex >= 0 && index < values.size() ? values[index] : NO_VALUE;
  }

  void removeAction(int actionIndex) override {
    note("removeAction(", actionIndex, ") of ", ACTIONS, ", ", registeredActions.size(),
         " registered");
    if (removes) {
      --ACTIONS;
    }
  }

  /// The values of the actions.
  std::vector<double> values;

  /// True: carries removals out as a table does, which lowers the number of actions itself.
  bool removes = false;
};

#endif
