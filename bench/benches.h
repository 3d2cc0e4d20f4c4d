#pragma once

#include "bench/report.h"

namespace prodsweep::bench {

void BenchListing(Report& report);
void BenchLoad(Report& report);
void BenchLog(Report& report);

} // namespace prodsweep::bench
