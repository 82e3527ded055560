// Runs a short training, the same instructions every time, for tools that count them:
//
//   guard          lists the workloads
//   guard NAME     runs one

#include <iostream>
#include <string_view>

#include "workloads/Workloads.h"

// What scripts/instructions counts: neither the start of the program nor the making of a table.
extern "C" __attribute__((noinline)) void guardedTraining(Training& training, int episodes) {
  training.learn(episodes);
}

int main(int argc, char** argv) {
  if (argc != 2) {
    for (const Workload& workload : WORKLOADS) {
      std::cout << workload.name << '\n';
    }
    return 0;
  }
  const std::string_view name = argv[1];
  for (const Workload& workload : WORKLOADS) {
    if (name == workload.name) {
      const std::unique_ptr<Training> training = workload.make();
      guardedTraining(*training, workload.fewEpisodes);
      std::cout << training->getSteps() << " steps\n";
      return 0;
    }
  }
  std::cerr << "guard: no workload of the name " << name << '\n';
  return 1;
}
