// A line on a console that shows how far a removal has come.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "removal.h"

namespace prodsweep {

class COutput;

// "[########............]  42 %  Product: folders". The percentage is cut at 100, which a removal may
// pass; stage may be empty. The line is narrower than a console of so many columns, since one that is wrapped
// cannot be drawn over: a long name is cut first.
std::string ProgressLine(int percent, const std::string& product, const std::string& stage, std::size_t columns);

// Draws the line anew every so often, from a thread of its own, until it ends; then the line is wiped.
class CProgressBar : public IRemovalWatcher
{
public:
    // percent is called on the bar's own thread. out must be a console and outlive the bar.
    CProgressBar(const COutput& console, std::function<int()> progress);
    ~CProgressBar() override;

    void ProductBegins(const std::string& name) override;
    void StageEnds(const StageReport& report) override;

private:
    void Draw();
    void Run();

    const COutput& out;
    std::function<int()> percent;
    std::mutex guard;
    std::string product;
    std::string stage;
    std::size_t width = 0; // of the line that is on the console
    std::atomic<bool> ended{false};
    std::thread painter; // last: it uses all the others
};

} // namespace prodsweep
