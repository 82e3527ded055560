// Loads or creates a configuration file and saves it: what it then holds is what was understood.

#include <cstdlib>

#include "TD.h"

namespace {

class Parameters : public TD {
 public:
  explicit Parameters(const char* fileName) : TD(fileName) {}

 protected:
  void setInitialState() override {}
  void takeAction() override {}
  const bool observeState() override { return false; }
  const double calculateReward() override { return 0.0; }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: man_conf FILE" << std::endl;
    return EXIT_FAILURE;
  }
  const Parameters parameters(argv[1]);
  parameters.saveConf();
  return EXIT_SUCCESS;
}
