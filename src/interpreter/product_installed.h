#pragma once

#include "interpreter/descriptor.h"
#include "interpreter/product_config.h"
#include "operations/operations.h"

namespace prodsweep {

// Is the product on this machine? Walks the descriptor that its removal would use, checks that each
// thing named there exists, and adds up scores; a version whose sections reach their minimum makes the
// product installed. Changes nothing. COM must be initialised on this thread.
class CProductInstalled : public CProductConfig
{
public:
    // descriptor: full path of the file.
    explicit CProductInstalled(std::wstring descriptor);

    // True when a version was detected; the versions behind it are not looked at. False in every other
    // case, all failures included.
    bool Process() override;
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override;
    bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) override;

    // True when the thing is there. Everything else is a miss: a failed check, a missing attribute, an
    // unknown folder.
    bool ProcessDelFile(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessSleep(int milliseconds) override;
    bool ProcessDisableDriver(const AttributeMap& attributes, const std::wstring& appPath) override;
    bool ProcessDisableService(const AttributeMap& attributes, const std::wstring& appPath) override;

    // For those who want to hear how the answer comes about, and derive to listen.
    virtual ~CProductInstalled() = default;

protected:
    // How it went with the score of a section.
    struct SectionScore
    {
        enum class End
        {
            Minimum,   // the score was held against the minimum
            Mandatory, // an entry that must be found was not: failed at once
            Fault      // the section or an entry of it can't be read: failed at once
        };
        End end = End::Fault;
        int minimum = 0;
        int score = 0;
        long entries = 0; // its child nodes,
        long reached = 0; // and how many of them the walk came to
    };

    // What happens, told as it happens to a class that derives to listen. None of it has a say in the answer.
    virtual void HearDescriptor(Descriptor::Fault) {}
    virtual void HearVersions(const WideStringList& /*names*/) {}
    // The next version of that list. ProcessNTVersion follows for one that is present.
    virtual void HearVersion(bool /*present*/) {}
    virtual void HearMode(bool /*allSections*/) {}
    // The next section is left out. For all others ProcessSection is called.
    virtual void HearSkippedSection() {}
    // attributes: without those that say how the entry counts, which stand beside them.
    virtual void HearEntry(const AttributeMap& /*attributes*/, int /*score*/, bool /*mandatory*/, bool /*found*/) {}
    virtual void HearSection(const SectionScore&, bool /*passed*/) {}

private:
    // What an entry means for its section.
    enum class AfterEntry
    {
        NextOne,
        Minimum, // it can't be read: what was scored so far stands before the minimum
        Failed   // the section has failed, whatever was scored
    };

    // Steps of the functions of the same names; a log record carries the name of the function it stands in.
    // Whether all sections have to pass, and not just one.
    static bool ProcessNTVersion(IXMLDOMNode* version);
    bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath, SectionScore& tally);
    // One entry.
    AfterEntry ProcessSection(IXMLDOMNode* node, const std::wstring& opCode, const std::wstring& appPath,
                              SectionScore& tally);
    // False when the attributes of an entry could not be read.
    [[nodiscard]] static bool ProcessSection(const EntryAttributes& read);

    COperations operations;
};

} // namespace prodsweep
