#include "saved_plan.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "exit_codes.h"
#include "failure.h"
#include "plan_report.h"
#include "saved_plan_shape.h"
#include "support/temp_tree.h"
#include "text.h"
#include "whole_file.h"

namespace prodsweep {
namespace {

Plan SmallPlan()
{
    Plan plan;
    plan.machine = "forge";
    plan.selection.names = {"Anvil"};
    PlannedProduct& product = plan.products.emplace_back();
    product.name = "Anvil";
    product.kind = 1;
    product.descriptorDigest = "d1";
    PlannedItem folder;
    folder.kind = ItemKind::Folder;
    folder.name = "C:\\Anvil";
    folder.contents.files = 3;
    folder.mark = "m1";
    PlannedItem process;
    process.kind = ItemKind::Process;
    process.name = "anvil.exe";
    product.stages = {{"processes", {process}}, {"folders", {folder}}};
    return plan;
}

class DriftTest : public testing::Test
{
protected:
    std::string Drift() const { return FindDrift(PlanAsJson(saved), PlanAsJson(now)); }
    PlannedItem& Process() { return now.products[0].stages[0].items[0]; }
    PlannedItem& Folder() { return now.products[0].stages[1].items[0]; }

    Plan saved = SmallPlan();
    Plan now = SmallPlan();
};

TEST_F(DriftTest, SameMachineHasNotDrifted) { EXPECT_EQ("", Drift()); }

TEST_F(DriftTest, WhatComesAndGoesByItselfIsNoDrift)
{
    now.made = "later";
    now.restart = true;
    Process().state = ItemState::Absent;
    Process().detail = "2 run";
    Folder().contents.atRestart = 1;
    now.products[0].restart = true;
    EXPECT_EQ("", Drift());
}

TEST_F(DriftTest, OtherDescriptorIsTold)
{
    now.products[0].descriptorDigest = "d2";
    EXPECT_EQ("of \"Anvil\", its descriptor is not the one of the plan", Drift());
}

TEST_F(DriftTest, OtherStateIsTold)
{
    Folder().state = ItemState::Absent;
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" is \"absent\", and was \"present\"", Drift());
}

TEST_F(DriftTest, OtherNumbersAreTold)
{
    Folder().contents.files = 4;
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" would take 4 files, not 3", Drift());
}

TEST_F(DriftTest, OtherContentIsTold)
{
    Folder().mark = "m2";
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" is not what it was: something in it has changed", Drift());
}

TEST_F(DriftTest, OtherPlaceIsTold)
{
    Folder().leadsTo = "D:\\";
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" has another \"leadsTo\": D:\\, not null", Drift());
}

TEST_F(DriftTest, ProductsThatComeAndGoAreTold)
{
    now.products.push_back(now.products[0]);
    now.products[1].name = "Bellows";
    EXPECT_EQ("\"Bellows\" would go, and was not in the plan", Drift());
    now.products.clear();
    EXPECT_EQ("\"Anvil\" would not be dealt with any more", Drift());
}

TEST_F(DriftTest, OtherMachineIsTold)
{
    now.machine = "mill";
    EXPECT_EQ("it was made on \"forge\", and this is \"mill\"", Drift());
}

TEST_F(DriftTest, OtherNeighboursAreTold)
{
    now.products[0].asked.push_back({"Bellows", "b.xml", true});
    EXPECT_EQ("of \"Anvil\", other products stay and are asked what they use", Drift());
}

TEST_F(DriftTest, ItemsThatComeAndGoAreTold)
{
    now.products[0].stages[1].items.push_back(Folder());
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" was not in the plan", Drift());
    now.products[0].stages[1].items.clear();
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" is not dealt with any more", Drift());
}

TEST_F(DriftTest, SavedNameMayBeNoText)
{
    Json broken = PlanAsJson(saved);
    Json& item = broken.at("products")[0].at("stages")[1].at("items")[0];
    item["name"] = 5;
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" stands where \"5\" was", FindDrift(broken, PlanAsJson(now)));
    item["value"] = Json::array();
    EXPECT_EQ("of \"Anvil\", \"C:\\Anvil\" stands where \"[]\" of \"5\" was", FindDrift(broken, PlanAsJson(now)));
}

TEST(SavePlanTest, OlderPlanIsReplacedAndNotWrittenOver)
{
    const test::TempTree tree;
    const std::wstring path = tree.Path(L"plan.json");
    SavePlan(SmallPlan(), ToUtf8(path));
    // Another name of the older plan, which shows what became of it.
    const std::wstring older = tree.Path(L"older.json");
    ASSERT_TRUE(CreateHardLinkW(older.c_str(), path.c_str(), nullptr));
    Plan other = SmallPlan();
    other.machine = "mill";

    SavePlan(other, ToUtf8(path));

    EXPECT_EQ("forge", ReadSavedPlan(ToUtf8(older)).json->at("machine"));
    EXPECT_EQ("mill", ReadSavedPlan(ToUtf8(path)).json->at("machine"));
}

// Has something of everything that a plan may hold.
Json FullPlan()
{
    Plan plan = SmallPlan();
    plan.notInstalled = {"Chisel"};
    plan.warnings.push_back({"Anvil", "C:\\Anvil", "It is odd."});
    plan.dangers.push_back({"Anvil", "C:\\Anvil", "C:\\windows", "C:\\windows", "the folder of Windows"});
    plan.products[0].asked.push_back({"Bellows", "b.xml", true});
    PlannedItem& folder = plan.products[0].stages[1].items[0];
    folder.parts.push_back({PlannedPart::Kind::Link, "C:\\Anvil\\link", ItemState::Present, {}, "D:\\"});
    return Json::parse(ReportText(PlanAsJson(plan)));
}

// Each place of the object, those within lists and objects, too.
void AddPlaces(const Json& json, const Json::json_pointer& place, std::vector<Json::json_pointer>& places)
{
    if (!place.empty())
        places.push_back(place);
    for (std::size_t i = 0; json.is_array() && i < json.size(); ++i)
        AddPlaces(json[i], place / i, places);
    for (auto member = json.begin(); json.is_object() && member != json.end(); ++member)
        AddPlaces(member.value(), place / member.key(), places);
}

std::vector<Json::json_pointer> PlacesOf(const Json& json)
{
    std::vector<Json::json_pointer> places;
    AddPlaces(json, Json::json_pointer(), places);
    return places;
}

TEST(PlanShapeTest, WholePlanHasIt)
{
    EXPECT_TRUE(HasPlanShape(FullPlan()));
    Json newer = FullPlan();
    newer["more"] = 1;
    EXPECT_TRUE(HasPlanShape(newer));
}

TEST(PlanShapeTest, EachMemberHasToBeThere)
{
    for (const Json::json_pointer& place : PlacesOf(FullPlan()))
    {
        Json plan = FullPlan();
        Json& holder = plan[place.parent_pointer()];
        if (!holder.is_object())
            continue;
        holder.erase(place.back());
        EXPECT_FALSE(HasPlanShape(plan)) << place.to_string();
    }
}

TEST(PlanShapeTest, EachMemberHasToBeOfItsType)
{
    for (const Json::json_pointer& place : PlacesOf(FullPlan()))
    {
        Json plan = FullPlan();
        Json& value = plan[place];
        value = value.is_object() ? Json(-1) : Json::object();
        EXPECT_FALSE(HasPlanShape(plan)) << place.to_string();
    }
}

TEST(PlanShapeTest, CountIsAWholeNumberFromZeroOn)
{
    for (const Json& count : {Json(-1), Json(1.5), Json("1")})
    {
        Json plan = FullPlan();
        plan["total"]["files"] = count;
        EXPECT_FALSE(HasPlanShape(plan)) << count;
    }
}

class SelectionShapeTest : public testing::Test
{
protected:
    bool Holds() const { return HasPlanShape(plan); }

    Json plan = FullPlan();
    Json& selection = plan["selection"];
};

TEST_F(SelectionShapeTest, KindIsAKnownOne)
{
    selection["kind"] = "other";
    EXPECT_TRUE(Holds());
    selection["kind"] = "mine";
    EXPECT_FALSE(Holds());
}

TEST_F(SelectionShapeTest, NamesAreThereAndOnlyOnce)
{
    selection["names"] = {"Anvil", "Bellows"};
    EXPECT_TRUE(Holds());
    selection["names"] = {"Anvil", "Anvil"};
    EXPECT_FALSE(Holds());
    selection["names"] = {"Anvil", 1};
    EXPECT_FALSE(Holds());
    selection["names"] = Json::array();
    EXPECT_FALSE(Holds());
}

TEST_F(SelectionShapeTest, WholeCatalogueIsChosenInOneWayWithItsKindAndWithoutNames)
{
    selection["allInstalled"] = true;
    EXPECT_FALSE(Holds());
    selection["names"] = Json::array();
    EXPECT_FALSE(Holds());
    selection["kind"] = "own";
    EXPECT_TRUE(Holds());
    selection["force"] = true;
    EXPECT_FALSE(Holds());
    selection["force"] = false;
    selection["forceAll"] = true;
    EXPECT_FALSE(Holds());
}

TEST(ReadSavedPlanTest, FileThatIsNoPlanIsRefusedInOneSentence)
{
    const test::TempTree tree;
    const std::string path = ToUtf8(tree.Path(L"plan.json"));
    Json plan = FullPlan();
    plan["selection"]["kind"] = "mine";
    for (const Json& text : {plan, Json(1), Json::array(), Json::object()})
    {
        WriteWholeFile("the plan", path, ReportText(text));
        try
        {
            ReadSavedPlan(path);
            ADD_FAILURE() << text;
        }
        catch (const CFailure& failure)
        {
            EXPECT_EQ(exitBadCatalogue, failure.ExitCode());
            EXPECT_EQ('"' + path + "\" is no plan that this program has saved.", failure.what());
        }
    }
}

} // namespace
} // namespace prodsweep
