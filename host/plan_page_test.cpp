#include "plan_page.h"

#include <gmock/gmock.h>

#include "text.h"

namespace prodsweep {
namespace {

using testing::HasSubstr;
using testing::Not;

PlannedItem File(const char* name, ItemState state)
{
    PlannedItem item;
    item.kind = ItemKind::File;
    item.name = name;
    item.state = state;
    item.contents.files = state == ItemState::Present ? 1 : 0;
    item.contents.bytes = state == ItemState::Present ? 2048 : 0;
    item.contents.atRestart = state == ItemState::AtRestart ? 1 : 0;
    return item;
}

Plan OneProduct(const std::string& name, std::vector<PlannedStage> stages)
{
    Plan plan;
    plan.machine = "host";
    plan.made = "2030-01-31T12:00:00Z";
    plan.products.emplace_back().name = name;
    plan.products.back().stages = std::move(stages);
    return plan;
}

TEST(PlanPageTest, NoPartOfThePlanBecomesMarkup)
{
    const std::string evil = "</script><img src=x onerror=alert(1)>\"'&{{script}}" + ToUtf8(L"\x2028\x202E\xD834");
    Plan plan = OneProduct(evil, {{evil, {File(evil.c_str(), ItemState::InUse)}}});
    PlannedItem& item = plan.products[0].stages[0].items[0];
    item.detail = item.user = item.by = item.reason = item.leadsTo = item.valueName = evil;
    item.kind = ItemKind::Value;
    item.parts.push_back({PlannedPart::Kind::Link, evil, ItemState::InUse, evil, evil});
    plan.products[0].fault = plan.products[0].descriptor = evil;
    plan.products[0].asked = {{evil, evil, true}, {evil, evil, false}};
    plan.warnings.push_back({evil, evil, evil});
    plan.dangers.push_back({evil, evil, evil, evil, evil});
    plan.library = plan.machine = plan.made = plan.catalogues = plan.selection.kind = evil;
    plan.selection.names = plan.notInstalled = {evil};

    const std::string page = PlanAsPage(plan);

    EXPECT_THAT(page, Not(HasSubstr("<img")));
    EXPECT_THAT(page, Not(HasSubstr(ToUtf8(L"\x2028"))));
    EXPECT_THAT(page, Not(HasSubstr(ToUtf8(L"\x202E"))));
    EXPECT_EQ(page.find("</script>"), page.rfind("</script>"));
    // The name that stands in braces in the text is no name of the page's own.
    EXPECT_THAT(page, HasSubstr("&amp;{{script}}"));
}

TEST(PlanPageTest, StagesAreSummedUpOverTheProducts)
{
    Plan plan = OneProduct("A", {{"folders", {File("a", ItemState::Absent)}},
                                 {"files", {File("b", ItemState::Present), File("c", ItemState::InUse)}}});
    plan.products.push_back(OneProduct("B", {{"tools", {File("d", ItemState::Fails)}},
                                             {"folders", {}},
                                             {"shortcuts", {}},
                                             {"files", {File("e", ItemState::AtRestart)}}})
                                .products[0]);

    const std::string page = PlanAsPage(plan);

    EXPECT_THAT(page, HasSubstr("<th scope=\"row\">files</th><td>3</td><td>1</td><td>1</td><td>1</td>"
                                "<td class=\"none\">0</td><td class=\"none\">0</td><td>1 file, 2.0 KB</td>"));
    EXPECT_LT(page.find("\"row\">tools"), page.find("\"row\">folders"));
    EXPECT_LT(page.find("\"row\">folders"), page.find("\"row\">shortcuts"));
    EXPECT_LT(page.find("\"row\">shortcuts"), page.find("\"row\">files"));
}

TEST(PlanPageTest, StageCountsWhatWaitsAndStaysWithinItsItems)
{
    PlannedItem folder;
    folder.kind = ItemKind::Folder;
    folder.state = ItemState::PartlyInUse;
    folder.contents = {.folders = 1, .files = 5, .inUse = 2, .atRestart = 3};
    const Plan plan = OneProduct("A", {{"folders", {folder, File("b", ItemState::InUse)}}});

    EXPECT_THAT(PlanAsPage(plan), HasSubstr("\"row\">folders</th><td>2</td><td>1</td><td>3</td><td>3</td>"
                                            "<td class=\"none\">0</td><td class=\"none\">0</td>"));
}

TEST(PlanPageTest, RefusalIsSaidOnTop)
{
    Plan plan = OneProduct("A", {});
    EXPECT_THAT(PlanAsPage(plan), HasSubstr("No guard rail stands against it"));

    plan.dangers.push_back({"A", "C:\\Link", "C:\\Windows", "C:\\Windows", "the folder of Windows"});

    EXPECT_THAT(PlanAsPage(plan), HasSubstr("<code>C:\\Link</code> leads to <code>C:\\Windows</code>, which is the "
                                            "folder of Windows <span class=\"where\">(A)</span>"));
    EXPECT_THAT(PlanAsPage(plan), Not(HasSubstr("No guard rail")));
}

TEST(PlanPageTest, HeadingNamesAFewProductsAndCountsTheOthers)
{
    Plan plan;
    EXPECT_THAT(PlanAsPage(plan), HasSubstr("<h1>Nothing to remove</h1>"));
    for (const char* name : {"A", "B", "A", "C", "D", "E"})
        plan.products.push_back(OneProduct(name, {}).products[0]);
    EXPECT_THAT(PlanAsPage(plan), HasSubstr("<h1>A, B, C and 2 others</h1>"));
}

TEST(PlanPageTest, BigPlanBeginsWithItsStagesFolded)
{
    const PlannedStage small{"files", std::vector(399, File("a", ItemState::Present))};
    const PlannedStage big{"files", std::vector(400, File("a", ItemState::Present))};
    EXPECT_THAT(PlanAsPage(OneProduct("A", {small})), HasSubstr("data-stage=\"files\" open>"));
    EXPECT_THAT(PlanAsPage(OneProduct("A", {big})), HasSubstr("data-stage=\"files\">"));
}

} // namespace
} // namespace prodsweep
