// What the programs of this folder tell: which scenario runs, what failed in it, and a summary.
#ifndef FWBASE_TESTS_FAULTS_REPORT_H
#define FWBASE_TESTS_FAULTS_REPORT_H

#include <random>
#include <string>

namespace fwbase::faults {

/// Random numbers that `seed` tells, or others each time when it is null. Prints the seed.
std::mt19937 seeded(const char* seed);

/// Begins a scenario of a program; what follows belongs to it. A crash, and a scenario that does
/// not go on for `patience` seconds, end the program with a message that says where it was.
void begin_scenario(const std::string& name, unsigned int patience = 300);

/// Where the scenario is, for messages: an operation and which call of it fails.
void begin_step(const std::string& operation, const std::string& fault);

/// Counts a fault that was injected.
void count_fault();

/// Says whether it is good; prints and counts a failure when it is not. Needs no memory.
bool expect(bool good, const char* what);

/// Prints the summary of the scenario. Gives the exit status of the program: 1 after a failure.
int end_scenario();

}  // namespace fwbase::faults

#endif
