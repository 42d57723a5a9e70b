// What a quirk makes of one answer, as a row of a table.
#pragma once

#include <string>
#include <vector>

#include "tests/simcam/bench.h"

namespace simcamtest {

struct QuirkCase {
  const char* quirk;  // as it is switched on
  const char* operation;
  const char* gained;  // stands in the answer with the quirk alone; empty: nothing
  const char* lost;    // stands in the answer without the quirk alone; empty: nothing
};

void SwitchOn(Bench& bench, const std::string& quirk);

// Sends the operation to the ptz-dome with arguments that are right for it.
simcam::SoapAnswer Ask(const Bench& bench, const std::string& operation);

// Compares the answers of a fresh ptz-dome without and with the quirk.
void ExpectBent(const QuirkCase& row);
void ExpectAllBent(const std::vector<QuirkCase>& rows);

}  // namespace simcamtest
