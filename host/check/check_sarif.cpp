#include "check/check_report.h"

#include <nlohmann/json.hpp>
#include <windows.h>

#include "check/source_file.h"
#include "json.h"
#include "text.h"

namespace prodsweep {

namespace {

// Full sentences, as SARIF wants them.
std::string Sentence(std::string_view summary)
{
    std::string sentence(summary);
    if (!sentence.empty() && sentence.front() >= 'a' && sentence.front() <= 'z' &&
        sentence.find('_') > sentence.find(' '))
        sentence.front() = static_cast<char>(sentence.front() - 'a' + 'A');
    return sentence + '.';
}

Json RuleList()
{
    Json list = Json::array();
    for (const Rule& rule : Rules())
        list.push_back({{"id", rule.name},
                        {"shortDescription", {{"text", Sentence(rule.summary)}}},
                        {"fullDescription", {{"text", rule.consequence}}},
                        {"help", {{"text", rule.remedy}}},
                        {"defaultConfiguration", {{"level", SeverityName(rule.severity)}}}});
    return list;
}

Json ResultOf(const Finding& finding, const std::wstring& currentFolder)
{
    const Json artifact = {{"uri", UriOf(ToWide(finding.file), currentFolder)}};
    const Json region = {{"startLine", finding.at.line}, {"startColumn", finding.at.column}};
    Json result = {{"ruleId", finding.rule->name},
                   {"ruleIndex", finding.rule - Rules().data()},
                   {"level", SeverityName(finding.rule->severity)},
                   {"message", {{"text", finding.what}}}};
    result["locations"] = Json::array({{{"physicalLocation", {{"artifactLocation", artifact}, {"region", region}}}}});
    return result;
}

bool IsUnreserved(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("-._~/").find(character) != std::string_view::npos;
}

std::string PercentEncoded(const std::string& utf8)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : utf8)
    {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\\')
            encoded += '/';
        else if (IsUnreserved(character))
            encoded += character;
        else
            encoded.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    }
    return encoded;
}

} // namespace

std::string UriOf(const std::wstring& path, const std::wstring& currentFolder)
{
    const std::wstring full = AbsolutePath(path);
    std::wstring folder = currentFolder;
    if (!folder.ends_with(L'\\'))
        folder += L'\\';
    if (full.size() > folder.size() && SameName(std::wstring_view(full).substr(0, folder.size()), folder))
        return PercentEncoded(ToUtf8(full.substr(folder.size())));
    // A share's name is the host of the URI. The colon of a drive stays as it is.
    if (full.starts_with(L"\\\\"))
        return "file:" + PercentEncoded(ToUtf8(full));
    return "file:///" + ToUtf8(full.substr(0, 2)) + PercentEncoded(ToUtf8(full.substr(2)));
}

std::string CheckAsSarif(const CheckReport& report, const std::wstring& currentFolder)
{
    Json results = Json::array();
    for (const Finding& finding : report.findings)
        results.push_back(ResultOf(finding, currentFolder));
    Json run;
    run["tool"]["driver"] = {{"name", "prodsweep check"}, {"version", PRODSWEEP_VERSION}, {"rules", RuleList()}};
    run["columnKind"] = "unicodeCodePoints";
    run["results"] = std::move(results);
    Json document;
    document["$schema"] = "https://json.schemastore.org/sarif-2.1.0.json";
    document["version"] = "2.1.0";
    document["runs"] = Json::array({run});
    return ReportText(document);
}

} // namespace prodsweep
