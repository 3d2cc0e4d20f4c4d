#include "plan_report.h"

#include <gtest/gtest.h>

#include "removal.h"

namespace prodsweep {
namespace {

PlannedProduct ProductThatNames(int event, const std::string& name)
{
    PlannedItem item;
    item.kind = ItemKind::Service;
    item.name = name;
    PlannedProduct product;
    product.stages.push_back({StageName(event), {item}});
    return product;
}

TEST(PlanTextTest, ServiceOfTwoProductsIsOne)
{
    Plan plan;
    plan.products = {ProductThatNames(PRODSWEEP_EVENT_DISABLE_DRIVER, "Anvil"),
                     ProductThatNames(PRODSWEEP_EVENT_DISABLE_DRIVER, "ANVIL")};

    EXPECT_NE(std::string::npos, PlanAsText(plan).find("1 service would be disabled")) << PlanAsText(plan);
}

TEST(PlanTextTest, ToolOfTwoProductsIsRunForEach)
{
    Plan plan;
    plan.products = {ProductThatNames(PRODSWEEP_EVENT_TOOLS, "clean.exe"),
                     ProductThatNames(PRODSWEEP_EVENT_TOOLS, "clean.exe")};

    EXPECT_NE(std::string::npos, PlanAsText(plan).find("2 tools would be run")) << PlanAsText(plan);
}

} // namespace
} // namespace prodsweep
