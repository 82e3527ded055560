// Learns with every kind of representation and saves the values to files in the folder that the
// argument names. The program is compiled in several ways, which must all write the same bytes; so
// no environment here calls a function of the mathematical library, which may round as it likes.

#include <cstdio>
#include <string>

#include "NetworkWalker.h"
#include "TableWalker.h"
#include "TileSailor.h"

namespace {

template <typename Agent>
const bool train(const std::string& folder, const std::string& name) {
  Agent agent(folder + "/" + name + ".conf");
  agent.controlLoop();
  return agent.save(folder + "/" + name + ".values") == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: train FOLDER\n", stderr);
    return 2;
  }
  const std::string folder = argv[1];
  const bool trained = train<TableWalker>(folder, "table") && train<TileSailor>(folder, "tiles") &&
                       train<NetworkWalker>(folder, "network");
  return trained ? 0 : 1;
}
