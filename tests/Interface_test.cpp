// What applications rely on when they write against the library, over all of its classes.

#include <gtest/gtest.h>

#include <cstdio>
#include <list>
#include <memory>
#include <string>
#include <type_traits>

#include "ActionLookupTable.h"
#include "ActionNeuralNetwork.h"
#include "ActionTileCoding.h"
#include "Sarsa.h"
#include "StateLookupTable.h"
#include "StateNeuralNetwork.h"
#include "StateTileCoding.h"
#include "TD.h"
#include "VarValuesDouble.h"
#include "VarValuesInt.h"
#include "Watkins.h"
#include "support/Files.h"

namespace {

// A learner whose hooks are there and do nothing.
template <typename Learner>
class Idle : public Learner {
 public:
  using Learner::Learner;

 protected:
  void setInitialState() override {}
  void takeAction() override {}
  const bool observeState() override { return false; }
  const double calculateReward() override { return 0.0; }
};

// True where T can be made from Argument, but only by name.
template <typename T, typename... Argument>
constexpr bool isMadeExplicitly =
    std::is_constructible_v<T, Argument...> && !(std::is_convertible_v<Argument, T> || ...);

template <typename T>
class Learners : public testing::Test {};
using LearnerTypes = testing::Types<TD, Sarsa, Watkins>;
TYPED_TEST_SUITE(Learners, LearnerTypes);

TYPED_TEST(Learners, TextDoesNotBecomeOneByItself) {
  EXPECT_TRUE((isMadeExplicitly<Idle<TypeParam>, std::string>));
  EXPECT_FALSE((std::is_convertible_v<const char*, Idle<TypeParam>>));
}

TYPED_TEST(Learners, AreNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<Idle<TypeParam>>);
  EXPECT_FALSE(std::is_copy_assignable_v<Idle<TypeParam>>);
}

// A value function with weights, over one variable.
template <typename T>
std::unique_ptr<T> made() {
  State* const state = new State;
  if constexpr (std::is_base_of_v<LookupTable, T>) {
    state->registerVariable("place", 0, 9);
  } else {
    state->registerVariable("place", 0.0, 9.0);
  }
  std::unique_ptr<T> function;
  if constexpr (std::is_base_of_v<NeuralNetwork, T>) {
    function = std::make_unique<T>(state, 3);
  } else {
    function = std::make_unique<T>(state);
  }
  if constexpr (std::is_base_of_v<ActionValueFunction, T>) {
    function->registerAction(new AbstractAction);
  }
  const std::list<Types::TILINGS_VAR_STRUCT> covered = {{0, 1.0, Types::CLIP}};
  if constexpr (std::is_same_v<T, StateTileCoding>) {
    function->registerTiling(new StateTilings(2, covered));
  } else if constexpr (std::is_same_v<T, ActionTileCoding>) {
    function->registerTiling(new ActionTilings(2, covered));
  } else if constexpr (!std::is_same_v<T, StateLookupTable>) {
    function->create();
  }
  return function;
}

template <typename T>
class ValueFunctions : public testing::Test {};
using ValueFunctionTypes =
    testing::Types<StateLookupTable, ActionLookupTable, StateTileCoding, ActionTileCoding,
                   StateNeuralNetwork, ActionNeuralNetwork>;
TYPED_TEST_SUITE(ValueFunctions, ValueFunctionTypes);

TYPED_TEST(ValueFunctions, TextDoesNotBecomeOneByItself) {
  EXPECT_TRUE((isMadeExplicitly<TypeParam, std::string>));
  EXPECT_FALSE((std::is_convertible_v<const char*, TypeParam>));
}

TYPED_TEST(ValueFunctions, AStateDoesNotBecomeOneByItself) {
  EXPECT_FALSE((std::is_convertible_v<State*, TypeParam>));
}

// Both the interface and the representation have a save() and a load(); the concrete class offers
// those by name without saying whose they are.
TYPED_TEST(ValueFunctions, AreSavedAndLoadedByNameThroughTheConcreteClass) {
  const TemporaryDirectory directory;
  const std::unique_ptr<TypeParam> first = made<TypeParam>();
  first->initWeights(ValueFunction::getRandomInitializer());
  const std::unique_ptr<TypeParam> second = made<TypeParam>();

  EXPECT_EQ(first->save(directory.file("first")), 0);
  EXPECT_EQ(second->load(directory.file("first")), 0);

  EXPECT_LT(first->getMinWeight(), first->getMaxWeight());
  EXPECT_EQ(second->getMinWeight(), first->getMinWeight());
  EXPECT_EQ(second->getMaxWeight(), first->getMaxWeight());
}

TYPED_TEST(ValueFunctions, TakeTheRandomInitializerOfTheLibrary) {
  const std::unique_ptr<TypeParam> function = made<TypeParam>();
  function->setRandomValueBoundaries(2.0, 3.0);

  function->initWeights(ValueFunction::getRandomInitializer());

  EXPECT_GE(function->getMinWeight(), 2.0);
  EXPECT_LT(function->getMinWeight(), function->getMaxWeight());
  EXPECT_LT(function->getMaxWeight(), 3.0);
  function->setRandomValueBoundaries(-0.5, 0.5);
}

TEST(Parts, FilesDoNotBecomeStatesOrVariablesByThemselves) {
  EXPECT_TRUE((isMadeExplicitly<State, FILE*>));
  EXPECT_TRUE((isMadeExplicitly<VarValuesInt, FILE*>));
  EXPECT_TRUE((isMadeExplicitly<VarValuesDouble, FILE*>));
}

}  // namespace
