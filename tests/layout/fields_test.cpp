// The order of the fields is part of the interface, as that of the virtual functions is: a program
// built against one version must find the fields of the next at the same places.

#include <gmock/gmock.h>
#include <quarnel/ActionLookupTable.h>
#include <quarnel/ActionNeuralNetwork.h>
#include <quarnel/ActionTileCoding.h>
#include <quarnel/ActionTilings.h>
#include <quarnel/ActionValueFunction.h>
#include <quarnel/LookupTable.h>
#include <quarnel/NeuralNetwork.h>
#include <quarnel/Quarnel.h>
#include <quarnel/Sarsa.h>
#include <quarnel/State.h>
#include <quarnel/StateLookupTable.h>
#include <quarnel/StateNeuralNetwork.h>
#include <quarnel/StateTileCoding.h>
#include <quarnel/StateTilings.h>
#include <quarnel/TD.h>
#include <quarnel/TileCoding.h>
#include <quarnel/Tilings.h>
#include <quarnel/ValueFunction.h>
#include <quarnel/VarValues.h>
#include <quarnel/VarValuesDouble.h>
#include <quarnel/VarValuesInt.h>
#include <quarnel/Watkins.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <list>
#include <vector>

namespace {

using Addresses = std::vector<const void*>;

void expectAscending(const Addresses& fields) {
  for (std::size_t i = 1; i < fields.size(); ++i) {
    EXPECT_TRUE(std::less<const void*>()(fields[i - 1], fields[i]))
        << "field " << i << " (from 0) does not stand behind field " << i - 1;
  }
}

struct StateProbe : State {
  Addresses fields() const { return {&varType, &vars}; }
};

TEST(Fields, State) { expectAscending(StateProbe().fields()); }

template <typename Variable>
struct VariableProbe : Variable {
  using Variable::Variable;
  Addresses fields() const { return {&this->name, &this->value, &this->minValue, &this->maxValue}; }
};

TEST(Fields, VarValuesInt) { expectAscending(VariableProbe<VarValuesInt>("", 0, 1).fields()); }

TEST(Fields, VarValuesDouble) {
  expectAscending(VariableProbe<VarValuesDouble>("", 0.0, 1.0).fields());
}

template <typename Learner>
struct LearnerProbe : Learner {
  using Learner::Learner;
  void setInitialState() override {}
  void takeAction() override {}
  const bool observeState() override { return false; }
  const double calculateReward() override { return 0.0; }

  Addresses baseFields() const {
    return {&this->ALPHA,
            &this->LAMBDA,
            &this->GAMMA,
            &this->EPSILON,
            &this->TRACES,
            &this->TRACE_VALUE,
            &this->ACTION_SELECTION,
            &this->TEMPERATURE,
            &this->continueLearning,
            &this->continueEpisode,
            &this->sigTermRcvd,
            &this->sigIntRcvd,
            &this->episodes,
            &this->steps,
            &this->value,
            &this->confFileName,
            &this->oldSigSet,
            &this->newSigSet,
            &this->pendingSignals};
  }
};

template <typename Learner>
struct ActionLearnerProbe : LearnerProbe<Learner> {
  using LearnerProbe<Learner>::LearnerProbe;
  Addresses ownFields() const { return {&this->pendingSignals, &this->avfPtr}; }
};

struct TDProbe : LearnerProbe<TD> {
  using LearnerProbe::LearnerProbe;
  Addresses ownFields() const { return {&pendingSignals, &svfPtr}; }
};

template <typename Probe>
void expectLearnerFieldsAscending() {
  const Probe learner("fields_test.conf");
  std::remove("fields_test.conf");
  expectAscending(learner.baseFields());
  expectAscending(learner.ownFields());
}

TEST(Fields, TD) { expectLearnerFieldsAscending<TDProbe>(); }

TEST(Fields, Sarsa) { expectLearnerFieldsAscending<ActionLearnerProbe<Sarsa>>(); }

TEST(Fields, Watkins) { expectLearnerFieldsAscending<ActionLearnerProbe<Watkins>>(); }

template <typename Table>
struct TableProbe : Table {
  using Table::Table;

  Addresses interfaceFields() const {
    return {&this->ValueFunction::statePtr, &this->initWeightsFunctionPtr, &this->minWeightLimit,
            &this->maxWeightLimit, &this->episodeStateHistory};
  }

  Addresses tableFields() const {
    return {&this->episodeStateHistory,
            &this->traceStorage,
            &this->ARRAY_SIZE,
            &this->weights,
            &this->eTraces,
            &this->eTracesMap,
            &this->indexOffset,
            &this->activeIndex,
            &this->storedActiveIndex,
            &this->episodeIndexHistorySet,
            &this->LookupTable::statePtr};
  }
};

struct ActionTableProbe : TableProbe<ActionLookupTable> {
  using TableProbe::TableProbe;
  Addresses actionFields() const {
    return {&episodeStateHistory, &ACTIONS,      &activeActionIndex,
            &registeredActions,   &actionValues, &traceStorage};
  }
};

TEST(Fields, StateLookupTable) {
  const TableProbe<StateLookupTable> table(new State);
  expectAscending(table.interfaceFields());
  expectAscending(table.tableFields());
}

TEST(Fields, ActionLookupTable) {
  const ActionTableProbe table(new State);
  expectAscending(table.interfaceFields());
  expectAscending(table.actionFields());
  expectAscending(table.tableFields());
}

template <typename Network>
struct NetworkProbe : Network {
  using Network::Network;

  Addresses interfaceFields() const {
    return {&this->ValueFunction::statePtr, &this->initWeightsFunctionPtr, &this->minWeightLimit,
            &this->maxWeightLimit, &this->episodeStateHistory};
  }

  Addresses networkFields() const {
    return {&this->episodeStateHistory,
            &this->INPUT_LAYER_NEURONS,
            &this->HIDDEN_LAYER_NEURONS,
            &this->OUTPUT_LAYER_NEURONS,
            &this->INPUT_HIDDEN_ARRAY_SIZE,
            &this->HIDDEN_OUTPUT_ARRAY_SIZE,
            &this->INPUT_HIDDEN_OUTPUT_ARRAY_SIZE,
            &this->inputValues,
            &this->hiddenValues,
            &this->outputValues,
            &this->inputHiddenWeights,
            &this->hiddenOutputWeights,
            &this->inputHiddenOutputTraces,
            &this->hiddenOutputTraces,
            &this->tmp,
            &this->scaleFactor,
            &this->NeuralNetwork::statePtr};
  }
};

struct ActionNetworkProbe : NetworkProbe<ActionNeuralNetwork> {
  using NetworkProbe::NetworkProbe;
  Addresses actionFields() const {
    return {&episodeStateHistory, &ACTIONS,      &activeActionIndex,
            &registeredActions,   &actionValues, &INPUT_LAYER_NEURONS};
  }
};

TEST(Fields, StateNeuralNetwork) {
  const NetworkProbe<StateNeuralNetwork> network(new State, 1);
  expectAscending(network.interfaceFields());
  expectAscending(network.networkFields());
}

TEST(Fields, ActionNeuralNetwork) {
  const ActionNetworkProbe network(new State, 1);
  expectAscending(network.interfaceFields());
  expectAscending(network.actionFields());
  expectAscending(network.networkFields());
}

template <typename Group>
struct TilingsProbe : Group {
  using Group::Group;

  Addresses groupFields() const {
    return {&this->TILINGS,
            &this->DIMENSIONS,
            &this->traceStorage,
            &this->vars,
            &this->tiles,
            &this->tileWidth,
            &this->indexOffset,
            &this->activeTiles,
            &this->storedActiveIndices,
            &this->tileOffset,
            &this->ARRAY_SIZE,
            &this->weights,
            &this->eTraces,
            &this->eTracesMap,
            &this->statePtr,
            &this->episodeIndexHistorySet};
  }
};

struct ActionTilingsProbe : TilingsProbe<ActionTilings> {
  using TilingsProbe::TilingsProbe;
  Addresses ownFields() const { return {&episodeIndexHistorySet, &ACTIONS}; }
};

TEST(Fields, StateTilings) {
  const std::list<Types::TILINGS_VAR_STRUCT> none;
  expectAscending(TilingsProbe<StateTilings>(1, none).groupFields());
}

TEST(Fields, ActionTilings) {
  const std::list<Types::TILINGS_VAR_STRUCT> none;
  const ActionTilingsProbe group(1, none);
  expectAscending(group.groupFields());
  expectAscending(group.ownFields());
}

template <typename Coding>
struct CodingProbe : Coding {
  using Coding::Coding;
  Addresses fields() const {
    return {&this->episodeStateHistory, &this->tilingPtrList, &this->numberOfTilings};
  }
};

TEST(Fields, StateTileCoding) { expectAscending(CodingProbe<StateTileCoding>(new State).fields()); }

TEST(Fields, ActionTileCoding) {
  expectAscending(CodingProbe<ActionTileCoding>(new State).fields());
}

}  // namespace
