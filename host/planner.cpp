#include "planner.h"

#include <algorithm>

#include <windows.h>

#include "catalogue/products.h"
#include "com_use.h"
#include "digest.h"
#include "exit_codes.h"
#include "failure.h"
#include "interpreter/descriptor.h"
#include "library.h"
#include "module_path.h"
#include "plan_stages.h"
#include "product_choice.h"
#include "text.h"

namespace prodsweep {

namespace {

std::string Now()
{
    SYSTEMTIME time{};
    GetSystemTime(&time);
    char text[32]{};
    snprintf(text, sizeof(text), "%04u-%02u-%02uT%02u:%02u:%02uZ", time.wYear, time.wMonth, time.wDay, time.wHour,
             time.wMinute, time.wSecond);
    return text;
}

std::string MachineName()
{
    wchar_t name[256]{};
    DWORD length = 256;
    return GetComputerNameExW(ComputerNameDnsHostname, name, &length) ? ToUtf8({name, length}) : std::string();
}

// What is named twice goes once, and a saved plan has no use for the second.
std::vector<std::string> WithoutRepeated(const std::vector<std::string>& names)
{
    std::vector<std::string> once;
    for (const std::string& name : names)
    {
        if (std::find(once.begin(), once.end(), name) == once.end())
            once.push_back(name);
    }
    return once;
}

// Plans one product after the other, as they would go.
class CPlanner
{
public:
    CPlanner(const CLibrary& usedLibrary, OpenFiles wantedTries, Plan& madePlan)
        : library(usedLibrary),
          openFiles(wantedTries),
          plan(madePlan),
          libraryFolder(FolderOf(ToWide(usedLibrary.Path()))),
          programFolder(FolderOf(ModulePath(nullptr))),
          forbidden(libraryFolder)
    {}

    void PlanCatalogue(int kind);
    void PlanNamed(const Product& product);

private:
    struct Catalogue
    {
        CProducts products;
        ProductList installed; // less what an earlier run of this sweep removes
        bool loaded = false;
    };

    Catalogue& Load(int kind);
    const Catalogue& CatalogueOf(int kind) const { return catalogues[kind == PRODSWEEP_KIND_OWN ? 0 : 1]; }
    void PlanRun(int kind, const UninstallSelection& selection, std::size_t chosen);
    struct Run
    {
        CheckList checkList;
        std::vector<std::string> names;
        std::vector<AskedProduct> asked;
        CheckList unaskedList;
        std::vector<std::string> unaskedNames;
    };
    Run AskOthers(int kind, const UninstallSelection& selection) const;
    void PlanProduct(int kind, const CProduct& product, PlannedProduct::Why why, const Run& run);
    void WarnOfTools(const PlannedProduct& product);
    void AddTotals(PlannedProduct& product);

    const CLibrary& library;
    OpenFiles openFiles;
    Plan& plan;
    std::wstring libraryFolder;
    std::wstring programFolder;
    CGuardRails forbidden;
    CSweptPlaces swept;
    Catalogue catalogues[2];
};

CPlanner::Catalogue& CPlanner::Load(int kind)
{
    Catalogue& catalogue = catalogues[kind == PRODSWEEP_KIND_OWN ? 0 : 1];
    if (catalogue.loaded)
        return catalogue;
    const std::wstring file = library.CatalogueFile(kind);
    if (!catalogue.products.Load(file.c_str(), kind, nullptr))
        throw CFailure(exitBadCatalogue, "the catalogue \"" + ToUtf8(file) + "\" changed while it was read.");
    // The code that is linked in here takes this program's folder for the library's. The library knows better.
    for (CProduct& product : catalogue.products.products)
        product.file = libraryFolder + product.file.substr(programFolder.size());
    catalogue.products.GetInstalledProducts(catalogue.installed, kind);
    catalogue.loaded = true;
    plan.catalogues += DigestOfFile(file);
    return catalogue;
}

void CPlanner::PlanCatalogue(int kind)
{
    const Catalogue& catalogue = Load(kind);
    UninstallSelection selection;
    selection.uninstallList = plan.selection.forceAll ? catalogue.products.products : catalogue.installed;
    const std::size_t chosen = selection.uninstallList.size();
    if (plan.selection.allInstalled)
        catalogue.products.WidenAllInstalled(selection.uninstallList);
    PlanRun(kind, selection, chosen);
}

void CPlanner::PlanNamed(const Product& product)
{
    const WideStringList name = {ToWide(product.name)};
    Catalogue& catalogue = Load(product.kind);
    const bool force = plan.selection.force;
    const std::size_t place = plan.products.size();
    PlanRun(product.kind,
            catalogue.products.Uninstall(force ? WideStringList() : name, force ? name : WideStringList(), product.kind,
                                         catalogue.installed),
            1);
    // The next one is removed when this one is gone, and so does not protect anything any more. One whose descriptor
    // can't be read stays.
    if (place < plan.products.size() && plan.products[place].fault.empty())
        std::erase_if(catalogue.installed, [&](const CProduct& other) { return other.name == name.front(); });
}

CPlanner::Run CPlanner::AskOthers(int kind, const UninstallSelection& selection) const
{
    Run run;
    for (const CProduct& product : selection.asked)
    {
        run.checkList.emplace_back(product.file, FolderLook::LeavesNoTrace);
        run.names.push_back(ToUtf8(product.name));
        run.asked.push_back({run.names.back(), ToUtf8(product.file), OpenDescriptor(product.file).root != nullptr});
    }
    for (const CProduct& product : CatalogueOf(kind).installed)
    {
        if (CProducts::IsProductInList(selection.uninstallList, product.name) ||
            CProducts::IsProductInList(selection.asked, product.name))
            continue;
        run.unaskedList.emplace_back(product.file, FolderLook::LeavesNoTrace);
        run.unaskedNames.push_back(ToUtf8(product.name));
    }
    return run;
}

void CPlanner::PlanRun(int kind, const UninstallSelection& selection, std::size_t chosen)
{
    const Run run = AskOthers(kind, selection);
    for (const AskedProduct& other : run.asked)
    {
        if (!other.read)
            plan.warnings.push_back(
                {other.name, "", "It stays, but its descriptor cannot be read, so nothing of it is protected."});
    }
    for (std::size_t i = 0; i < selection.uninstallList.size(); ++i)
        PlanProduct(kind, selection.uninstallList[i],
                    i < chosen ? PlannedProduct::Why::Chosen : PlannedProduct::Why::CleanUp, run);
}

void CPlanner::PlanProduct(int kind, const CProduct& product, PlannedProduct::Why why, const Run& run)
{
    PlannedProduct& planned = plan.products.emplace_back();
    planned.name = ToUtf8(product.name);
    planned.kind = kind;
    planned.why = why;
    planned.installed = CProducts::IsProductInList(CatalogueOf(kind).installed, product.name);
    planned.descriptor = ToUtf8(product.file);
    planned.descriptorDigest = DigestOfFile(product.file);
    planned.asked = run.asked;
    const CUsers users(run.checkList, run.names);
    const CUsers unasked(run.unaskedList, run.unaskedNames);
    const LookContext context{users, unasked, forbidden, libraryFolder, programFolder, openFiles == OpenFiles::Tried,
                              swept, planned, plan};
    CPlannedRemoval removal(product.name, product.file, run.checkList, users);
    if (removal.Record())
    {
        PlanStages(removal, context);
    }
    else
    {
        planned.fault = planned.descriptorDigest.empty() ? "it is missing" : "it cannot be read as a descriptor";
        context.Warn("", "Its descriptor \"" + planned.descriptor + "\" " +
                             (planned.descriptorDigest.empty() ? "is missing" : "cannot be read as one") +
                             "; nothing of it would be removed.");
    }
    for (const std::wstring& opCode : removal.UnknownOpCodes())
        context.Warn("", "Entries with the unknown op_code \"" + ToUtf8(opCode) + "\" do nothing.");
    WarnOfTools(planned);
    planned.asksRestart = removal.RestartRequired();
    planned.restart = planned.asksRestart;
    for (const std::string& entry : removal.RestartEntries())
        planned.restartFor.push_back("the entry " + entry);
    AddTotals(planned);
}

// A tool that is not waited for may still run, or load what it needs, when its files go.
void CPlanner::WarnOfTools(const PlannedProduct& product)
{
    for (const PlannedStage& stage : product.stages)
    {
        for (const PlannedItem& item : stage.items)
        {
            if (item.kind != ItemKind::Tool || item.state != ItemState::Present || item.detail != notWaitedFor)
                continue;
            const std::string path = item.name.substr(1, item.name.find('"', 1) - 1);
            if (const std::wstring by = swept.TakesPath(ToWide(path)); !by.empty())
                plan.warnings.push_back(
                    {product.name, item.name,
                     "It is not waited for, and \"" + ToUtf8(by) + "\" is deleted while it may still run."});
        }
    }
}

void CPlanner::AddTotals(PlannedProduct& product)
{
    for (const PlannedStage& stage : product.stages)
    {
        for (const PlannedItem& item : stage.items)
        {
            AddContents(plan.total, item);
            if (item.contents.atRestart != 0 || item.restart)
            {
                product.restart = true;
                product.restartFor.push_back(item.name);
            }
        }
    }
    plan.restart = plan.restart || product.restart;
}

} // namespace

Plan MakePlan(const CLibrary& library, const PlanSelection& selection, OpenFiles openFiles)
{
    try
    {
        const CComUse com;
        Plan plan;
        plan.library = library.Path();
        plan.machine = MachineName();
        plan.made = Now();
        plan.selection = selection;
        plan.selection.names = WithoutRepeated(selection.names);
        CPlanner planner(library, openFiles, plan);
        const std::vector<Product> chosen = ChosenProducts(selection, library);
        if (IsWholeCatalogue(selection))
        {
            planner.PlanCatalogue(FlagsOf(selection));
            return plan;
        }
        for (const Product& product : chosen)
        {
            if (IsDealtWith(selection, product))
                planner.PlanNamed(product);
            else
                plan.notInstalled.push_back(product.name);
        }
        return plan;
    }
    catch (const CComError&)
    {
        throw CFailure(exitNoMemory, "memory is short.");
    }
}

} // namespace prodsweep
