#include "progress_bar.h"

#include <algorithm>
#include <chrono>

#include "output.h"
#include "text.h"

namespace prodsweep {

namespace {

constexpr int barCells = 20;
constexpr std::chrono::milliseconds interval{100};

} // namespace

std::string ProgressLine(int percent, const std::string& product, const std::string& stage, std::size_t columns)
{
    const int shown = std::clamp(percent, 0, 100);
    const int filled = shown * barCells / 100;
    const std::string number = std::to_string(shown);
    const std::string bar = "[" + std::string(static_cast<std::size_t>(filled), '#') +
                            std::string(static_cast<std::size_t>(barCells - filled), '.') + "] " +
                            std::string(3 - number.size(), ' ') + number + " %  ";
    const std::string end = stage.empty() ? "" : ": " + stage;
    const std::size_t room = columns - std::min(columns, bar.size() + end.size() + 1);
    return CutToWidth(bar + CutToWidth(Printable(product), room) + end, columns - std::min<std::size_t>(columns, 1));
}

CProgressBar::CProgressBar(const COutput& console, std::function<int()> progress)
    : out(console), percent(std::move(progress)), painter([this] { Run(); })
{}

CProgressBar::~CProgressBar()
{
    ended = true;
    painter.join();
    static_cast<void>(out.Write("\r" + std::string(width, ' ') + "\r"));
}

void CProgressBar::ProductBegins(const std::string& name)
{
    const std::lock_guard lock(guard);
    product = name;
    stage.clear();
}

void CProgressBar::StageEnds(const StageReport& report)
{
    const std::lock_guard lock(guard);
    stage = report.stage;
}

void CProgressBar::Draw()
{
    const std::lock_guard lock(guard);
    if (product.empty())
        return;
    const std::string line = ProgressLine(percent(), product, stage, out.Columns());
    const std::size_t columns = DisplayWidth(line);
    // A console that can't be written to is no reason to stop a removal.
    static_cast<void>(out.Write("\r" + line + std::string(width > columns ? width - columns : 0, ' ')));
    width = columns;
}

void CProgressBar::Run()
{
    while (!ended)
    {
        Draw();
        std::this_thread::sleep_for(interval);
    }
}

} // namespace prodsweep
