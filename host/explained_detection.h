// The library's detection pass, which keeps what it hears of itself.
#pragma once

#include <cstddef>
#include <string>

#include "explanation.h"
#include "interpreter/product_installed.h"

namespace prodsweep {

struct ComposedEntry;

// Answers as the pass does, since it is that pass: everything is left to the base and noted on the way.
class CExplainedDetection : public CProductInstalled
{
public:
    // descriptorFile: full path.
    explicit CExplainedDetection(const std::wstring& descriptorFile);

    // Complete once Process has run.
    const ExplainedDescriptor& Record() const { return record; }

    bool Process() override;
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override;
    bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) override;

    // The operations that ask the machine. The others count as found unseen.
    bool ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath) override;

protected:
    void HearDescriptor(Descriptor::Fault fault) override;
    void HearVersions(const WideStringList& names) override;
    void HearVersion(bool present) override;
    void HearMode(bool allSections) override;
    void HearSkippedSection() override;
    void HearEntry(const AttributeMap& attributes, int score, bool mandatory, bool found) override;
    void HearSection(const SectionScore& tally, bool passed) override;

private:
    ExplainedVersion& Version() { return record.versions.at(versionsHeard - 1); }
    ExplainedSection& Section() { return Version().sections.at(sectionsHeard - 1); }
    void NextSection();
    void LookFor(const std::wstring& target);
    void LookFor(const ComposedEntry& composed, const std::wstring& target);

    ExplainedDescriptor record;
    std::size_t versionsHeard = 0;
    std::size_t sectionsHeard = 0; // of the version
    ExplainedEntry entry;          // the one that is being looked for
};

} // namespace prodsweep
