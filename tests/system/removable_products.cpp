#include "system/removable_products.h"

#include "support/log_recorder.h"
#include "system/catalogue_text.h"

namespace prodsweep::test {
namespace {

std::wstring Key(int kind, const std::wstring& name) { return std::to_wstring(kind) + name; }

// No file's name begins like it: a folder that goes takes all along that begins with its path.
std::wstring Folder(int kind, const std::wstring& name) { return L"victims\\folder-" + Key(kind, name); }

std::wstring Section(const wchar_t* opCode, const std::wstring& entries)
{
    // The score can't be reached: only the registry makes a product count as installed.
    return std::wstring(L"<s minimum_score='99' op_code='") + opCode + L"'>" + entries + L"</s>";
}

} // namespace

void RemovableProducts::Write(int kind, const std::wstring& states, const std::wstring& elements,
                              const std::wstring& entryAttributes)
{
    std::wstring catalogue = elements;
    library.Write(L"victims\\" + Key(kind, L"shared.txt"), "");
    for (std::size_t i = 0; i + 1 < states.size(); i += 2)
    {
        const std::wstring name = states.substr(i, 1);
        Plant(kind, name);
        library.Write(Descriptor(kind, name), DescriptorText(kind, name, entryAttributes));
        catalogue += ProductText(name, VersionById(states[i + 1] == L'+' ? entry.Id() : L"prodsweep-test-none"));
    }
    library.Write(Catalogue(kind), CatalogueText(catalogue));
}

void RemovableProducts::Plant(int kind, const std::wstring& name)
{
    library.Write(L"victims\\" + Key(kind, name) + L".txt", "");
    library.Write(Folder(kind, name) + L"\\inner.txt", "");
    registry.AddKey(Key(kind, name));
    registry.AddText(L"values", Key(kind, name), L"data");
}

std::string RemovableProducts::DescriptorText(int kind, const std::wstring& name, const std::wstring& attributes) const
{
    const std::wstring folder = library.Path(Folder(kind, name));
    const std::wstring sections =
        Section(L"del_file", L"<e name='" + File(kind, name) + L"' " + attributes + L"/><e name='" +
                                 File(kind, L"shared") + L"'/>") +
        Section(L"del_folder", L"<e name='" + folder + L"'/>") +
        Section(L"del_regkey", L"<e name='" + registry.Path(Key(kind, name)) + L"'/>") +
        Section(L"del_regvalue", L"<e key_path='" + registry.Path(L"values") + L"' name='" + Key(kind, name) + L"'/>");
    return Narrow(L"<uninstall_information><version_list><v/></version_list><v><win_nt>" + sections +
                  L"</win_nt></v></uninstall_information>");
}

bool RemovableProducts::Has(int kind, const std::wstring& name) const
{
    const bool file = Exists(File(kind, name));
    EXPECT_EQ(file, Exists(library.Path(Folder(kind, name)))) << Narrow(name) << " is half there";
    EXPECT_EQ(file, registry.HasKey(Key(kind, name))) << Narrow(name) << " is half there";
    EXPECT_EQ(file, registry.HasValue(L"values", Key(kind, name))) << Narrow(name) << " is half there";
    return file;
}

std::wstring RemovableProducts::File(int kind, const std::wstring& name) const
{
    return library.Path(L"victims\\" + Key(kind, name) + L".txt");
}

std::wstring RemovableProducts::Descriptor(int kind, const std::wstring& name)
{
    return (kind == PRODSWEEP_KIND_OWN ? L"intern\\" : L"extern\\") + name + L".xml";
}

const wchar_t* RemovableProducts::Catalogue(int kind)
{
    return kind == PRODSWEEP_KIND_OWN ? L"products.xml" : L"detection.xml";
}

} // namespace prodsweep::test
