#include "removal_question.h"

#include <algorithm>
#include <vector>

#include "text.h"

namespace prodsweep {

namespace {

// Each once, and what was chosen only as that: in a removal of several names, the last of them may well run the
// descriptor of the first again.
std::vector<const PlannedProduct*> ProductsOf(const Plan& plan, PlannedProduct::Why why)
{
    std::vector<const PlannedProduct*> products;
    for (const PlannedProduct& product : plan.products)
    {
        const auto isSame = [&](const PlannedProduct& other) {
            return other.name == product.name && other.kind == product.kind;
        };
        const bool isKnown =
            std::any_of(products.begin(), products.end(), [&](const auto* other) { return isSame(*other); });
        const bool isChosen = std::any_of(plan.products.begin(), plan.products.end(), [&](const auto& other) {
            return isSame(other) && other.why == PlannedProduct::Why::Chosen;
        });
        if (!isKnown && isChosen == (why == PlannedProduct::Why::Chosen))
            products.push_back(&product);
    }
    return products;
}

std::string NamesText(const std::vector<const PlannedProduct*>& products)
{
    std::string text;
    for (const PlannedProduct* const product : products)
        text += "  " + Printable(product->name) + "\n";
    return text;
}

std::string FindUnasked(const Plan& asked, const Plan& now, PlannedProduct::Why why, const char* consequence)
{
    const std::vector<const PlannedProduct*> before = ProductsOf(asked, why);
    for (const PlannedProduct* const product : ProductsOf(now, why))
    {
        const bool wasAsked = std::any_of(before.begin(), before.end(), [&](const auto* other) {
            return other->name == product->name && other->kind == product->kind;
        });
        if (!wasAsked)
            return '"' + product->name + "\" would be " + consequence;
    }
    return {};
}

} // namespace

std::string QuestionText(const Plan& plan)
{
    std::string text = "These products will be removed:\n" + NamesText(ProductsOf(plan, PlannedProduct::Why::Chosen));
    if (const std::string names = NamesText(ProductsOf(plan, PlannedProduct::Why::CleanUp)); !names.empty())
        text += "With the last of their kind, these will be cleaned up as well:\n" + names;
    return text + "Remove them? [y/N] ";
}

std::string FindUnasked(const Plan& asked, const Plan& now)
{
    const std::string removed = FindUnasked(asked, now, PlannedProduct::Why::Chosen, "removed as well");
    return removed.empty() ? FindUnasked(asked, now, PlannedProduct::Why::CleanUp, "cleaned up as well") : removed;
}

} // namespace prodsweep
