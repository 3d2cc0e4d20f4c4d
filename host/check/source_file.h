// A file that is checked.
#pragma once

#include <string>
#include <string_view>

#include "check/xml_document.h"

namespace prodsweep {

// Whose products a file is about. Scores are only read for those of other makers.
enum class Owner
{
    Unknown,
    Own,
    Other
};

struct SourceFile
{
    std::string shown; // its name in reports
    std::wstring path;
    Owner owner = Owner::Unknown;
    bool isCatalogue = false;
    XmlNode root;
};

// "products.xml" and "intern" are the maker's own; "detection.xml" and "extern" are other makers'. A file of another
// name counts as a catalogue when there is a product in it, and no list of versions. A file whose owner is known is a
// descriptor: a catalogue named it.
void Classify(SourceFile& file);

bool SameName(std::wstring_view left, std::wstring_view right);

// As it stands when it is no path at all; else absolute, without ".", ".." and "/" in it. The file need not be there.
std::wstring AbsolutePath(const std::wstring& path);

// The last part of a path.
std::wstring_view NameOf(std::wstring_view path);

} // namespace prodsweep
