// Never linked: check_layout.py reads the vtables that the compiler writes for these probes. A
// probe overrides only what is pure in its base (a pure slot would not say whose it is), so every
// other slot names the function that the base itself put there.

#include <quarnel/AbstractAction.h>
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
#include <quarnel/StateValueFunction.h>
#include <quarnel/TD.h>
#include <quarnel/TileCoding.h>
#include <quarnel/Tilings.h>
#include <quarnel/ValueFunction.h>
#include <quarnel/VarValues.h>
#include <quarnel/VarValuesDouble.h>
#include <quarnel/VarValuesInt.h>
#include <quarnel/Watkins.h>

#include <cstdio>
#include <string>

template <typename Base>
struct Probe : Base {
  using Base::Base;
};

template <>
struct Probe<VarValues> : VarValues {
  using VarValues::VarValues;
  const int save(FILE*) const override { return 0; }
  const int load(FILE*) override { return 0; }
};

template <typename Learner>
struct LearnerProbe : Learner {
  using Learner::Learner;
  void setInitialState() override {}
  void takeAction() override {}
  const bool observeState() override { return false; }
  const double calculateReward() override { return 0.0; }
};

template <>
struct Probe<Quarnel> : LearnerProbe<Quarnel> {
  using LearnerProbe::LearnerProbe;
  void initEpisode() override {}
  void step() override {}
  const bool checkValueFunction() const override { return false; }
};

template <>
struct Probe<TD> : LearnerProbe<TD> {
  using LearnerProbe::LearnerProbe;
};

template <>
struct Probe<Sarsa> : LearnerProbe<Sarsa> {
  using LearnerProbe::LearnerProbe;
};

template <>
struct Probe<Watkins> : LearnerProbe<Watkins> {
  using LearnerProbe::LearnerProbe;
};

template <typename Interface>
struct RepresentationProbe : Interface {
  using Interface::Interface;
  using Interface::load;
  using Interface::save;
  void initWeights(const double (*)()) override {}
  void initEligibilityTraces() override {}
  void updateWeights(double, double) override {}
  void updateEligibilityTraces(double, double) override {}
  void accumulatingTraces(double) override {}
  void replacingTraces(double) override {}
  void checkWeightLimit() override {}
  const double getMinWeight() const override { return 0.0; }
  const double getAvgWeight(bool) const override { return 0.0; }
  const double getMaxWeight() const override { return 0.0; }
  void setState() override {}
  void storeState() override {}
  void initEpisodeStateHistory() override {}
  void valueEpisode(double) override {}
  const int save(FILE*) const override { return 0; }
  const int load(FILE*) override { return 0; }
};

template <>
struct Probe<ValueFunction> : RepresentationProbe<ValueFunction> {
  using RepresentationProbe::RepresentationProbe;
  const int save(const std::string&) const override { return 0; }
  const int load(const std::string&) override { return 0; }
};

template <>
struct Probe<StateValueFunction> : RepresentationProbe<StateValueFunction> {
  using RepresentationProbe::RepresentationProbe;
  const double getStateValue() const override { return 0.0; }
};

template <>
struct Probe<ActionValueFunction> : RepresentationProbe<ActionValueFunction> {
  using RepresentationProbe::RepresentationProbe;
  const double getActionValue(int) const override { return 0.0; }
  void removeAction(int) override {}
};

template <>
struct Probe<NeuralNetwork> : NeuralNetwork {
  using NeuralNetwork::NeuralNetwork;
  void create() override {}
};

template <>
struct Probe<TileCoding> : TileCoding {
  void accumulatingTraces(double) override {}
  void replacingTraces(double) override {}
  const int load(FILE*) override { return 0; }
};

// Constructing the probes makes the compiler write their vtables.
void useProbes(const std::string& text) {
  Probe<AbstractAction>();
  Probe<VarValues>{text};
  Probe<VarValuesInt>{text, 0, 1};
  Probe<VarValuesDouble>{text, 0.0, 1.0};
  Probe<Quarnel>{text};
  Probe<TD>{text};
  Probe<Sarsa>{text};
  Probe<Watkins>{text};
  Probe<ValueFunction>{nullptr};
  Probe<StateValueFunction>{nullptr};
  Probe<ActionValueFunction>{nullptr};
  Probe<LookupTable>{nullptr};
  Probe<StateLookupTable>{text};
  Probe<ActionLookupTable>{text};
  Probe<NeuralNetwork>{nullptr, 0};
  Probe<StateNeuralNetwork>{text};
  Probe<ActionNeuralNetwork>{text};
  Probe<Tilings>(nullptr, nullptr);
  Probe<StateTilings>(nullptr, nullptr);
  Probe<ActionTilings>(nullptr, 0, nullptr);
  Probe<TileCoding>();
  Probe<StateTileCoding>{text};
  Probe<ActionTileCoding>{text};
}
