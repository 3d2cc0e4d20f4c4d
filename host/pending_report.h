// What "prodsweep pending" tells: for people, and for scripts.
#pragma once

#include <string>
#include <vector>

#include "pending.h"
#include "product.h"

namespace prodsweep {

// One thing that waits, and whose it is.
struct PendingLine
{
    PendingOperation operation;
    std::vector<Product> products; // of the catalogues; may be empty
};

struct PendingReport
{
    std::string library;
    std::vector<PendingLine> lines;
    std::vector<std::string> faults;
};

std::string PendingAsText(const PendingReport& report);
std::string PendingAsJson(const PendingReport& report);

// The answers to --check and --cancel: one sentence. path: full.
std::string CheckAsText(const std::wstring& path, const std::vector<PendingOperation>& operations);
std::string CancelAsText(const std::wstring& path, const std::vector<PendingOperation>& cancelled);
// The same for scripts. question: the member under which the operations stand, "queued" or "cancelled".
std::string OperationsOnAsJson(const std::wstring& path, const char* question,
                               const std::vector<PendingOperation>& operations);

// "delete", "rename" or "unclear".
const char* ActionWord(PendingAction action);

} // namespace prodsweep
