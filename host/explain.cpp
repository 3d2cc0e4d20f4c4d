#include "explain.h"

#include <algorithm>
#include <iterator>

#include "catalogue/products.h"
#include "com_use.h"
#include "environment/xml_helper.h"
#include "exit_codes.h"
#include "explained_detection.h"
#include "failure.h"
#include "text.h"

namespace prodsweep {

namespace {

CProduct LoadProduct(const std::wstring& catalogueFile, const Product& product)
{
    CProducts catalogue;
    CProduct loaded;
    if (!catalogue.Load(catalogueFile.c_str(), product.kind, nullptr) ||
        !catalogue.GetProductInfo(ToWide(product.name), loaded))
        throw CFailure(exitBadCatalogue, "the catalogue \"" + ToUtf8(catalogueFile) + "\" changed while it was read.");
    // The code that is linked in here takes this program's folder for the library's. The library knows better.
    loaded.file = ToWide(product.descriptor);
    return loaded;
}

ExplainedMark MarkOf(const CProductVersion& version)
{
    ExplainedMark mark;
    mark.version = ToUtf8(version.name);
    mark.displayName = ToUtf8(version.prodName);
    mark.key = ToUtf8(version.keyPath);
    mark.value = ToUtf8(version.keyValue);
    mark.inOwnView = version.IsInstalled();
    // The second look begins with the own view, so what it adds is the other.
    mark.inOtherView = !mark.inOwnView && version.IsInstalled2();
    return mark;
}

// Names what the answer was made of; the answer itself is the library's.
void NameRule(Explanation& explanation)
{
    using Rule = Explanation::Rule;
    if (!explanation.installed)
        return;
    const auto detected = std::find_if(explanation.descriptor.versions.begin(), explanation.descriptor.versions.end(),
                                       [](const ExplainedVersion& version) { return version.detected; });
    if (detected != explanation.descriptor.versions.end())
    {
        explanation.rule = Rule::Descriptor;
        explanation.version = detected->name;
        return;
    }
    const auto find = [&](bool ExplainedMark::*found) {
        return std::find_if(explanation.marks.begin(), explanation.marks.end(),
                            [found](const ExplainedMark& mark) { return mark.*found; });
    };
    const auto own = find(&ExplainedMark::inOwnView);
    const auto mark = own != explanation.marks.end() ? own : find(&ExplainedMark::inOtherView);
    explanation.rule = own != explanation.marks.end() ? Rule::OwnView : Rule::OtherView;
    // Absent only when the mark went in the moment between the answer and the look at it.
    if (mark != explanation.marks.end())
        explanation.version = mark->version;
}

} // namespace

Explanation Explain(const std::wstring& catalogueFile, const Product& product)
{
    try
    {
        const CComUse com;
        const CProduct loaded = LoadProduct(catalogueFile, product);
        CExplainedDetection pass(loaded.file);
        Explanation explanation;
        explanation.name = product.name;
        explanation.kind = product.kind;
        explanation.installed = loaded.IsInstalled(product.kind, pass);
        explanation.descriptor = pass.Record();
        std::transform(loaded.versions.begin(), loaded.versions.end(), std::back_inserter(explanation.marks), MarkOf);
        NameRule(explanation);
        return explanation;
    }
    catch (const CComError&)
    {
        throw CFailure(exitNoMemory, "memory is short.");
    }
}

} // namespace prodsweep
