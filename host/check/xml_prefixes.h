// The namespaces of an XML document, which nothing in the formats has a use for, and parsers look at all the same.
#pragma once

#include <string>
#include <vector>

#include "check/xml_document.h"

namespace prodsweep {

// The first use of each prefix that is not declared where it is used: parsers differ in what they make of that. Throws
// CXmlFault for two attributes of one name in one namespace, which none of them reads.
std::vector<UndeclaredPrefix> UndeclaredPrefixes(const XmlNode& root);

} // namespace prodsweep
