#pragma once

#include "bench/report.h"

namespace prodsweep::bench {

void BenchDetection(Report& report);
void BenchFolders(Report& report);
void BenchInterpreter(Report& report);
void BenchListing(Report& report);
void BenchLoad(Report& report);
void BenchLog(Report& report);
void BenchRegistry(Report& report);
void BenchRemoval(Report& report);

} // namespace prodsweep::bench
