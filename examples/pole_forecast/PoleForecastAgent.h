#ifndef QUARNEL_EXAMPLES_POLE_FORECAST_AGENT_H
#define QUARNEL_EXAMPLES_POLE_FORECAST_AGENT_H

#include <quarnel/TD.h>

#include <string>

#include "common/Options.h"
#include "common/ReportingAgent.h"
#include "pole_forecast/PoleForecast.h"

/// An agent that looks on while the cart is pushed, and learns by a network how likely it is that
/// the pole stays up.
class PoleForecastAgent : public ReportingAgent<TD> {
 public:
  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param seed seed of the random numbers.
  PoleForecastAgent(const Options& newOptions, unsigned int seed);

  /// Saves what has been learnt. @return false after a message on standard error.
  const bool save(const std::string& fileName) const;

  /// Replaces what has been learnt. @return false after a message on standard error; the agent is
  /// then not to be used.
  const bool load(const std::string& fileName);

  /// @return the probability, as it has been learnt, that the pole stays up from there on.
  const double getForecast(const PoleForecast& there);

  /// @return the forecast for a start.
  const double getForecast(const PoleForecast::Question& question);

  /// @return the root of the mean squared error of the forecasts for all questions.
  const double getRmsError();

 protected:
  void setInitialState() override;
  void takeAction() override;
  const bool observeState() override;
  const double calculateReward() override;

 private:
  void show(const PoleForecast& there);

  PoleForecast world;
};

#endif
