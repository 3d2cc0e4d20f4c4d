#include "digest.h"

#include <array>

#include "common/unique_handle.h"
#include "failure.h"

namespace prodsweep {

namespace {

void Require(NTSTATUS status)
{
    if (status < 0)
        throw CFailure(static_cast<int>(status), "the system cannot make SHA-256 digests.");
}

} // namespace

CDigest::CDigest()
{
    BCRYPT_ALG_HANDLE opened = nullptr;
    Require(BCryptOpenAlgorithmProvider(&opened, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
    algorithm.reset(opened);
    BCRYPT_HASH_HANDLE created = nullptr;
    Require(BCryptCreateHash(opened, &created, nullptr, 0, nullptr, 0, 0));
    hash.reset(created);
}

void CDigest::Add(std::string_view bytes)
{
    // The interface takes the bytes as changeable and does not change them.
    auto* const data = reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data()));
    Require(BCryptHashData(hash.get(), data, static_cast<ULONG>(bytes.size()), 0));
}

void CDigest::Add(std::wstring_view text)
{
    Add(std::string_view(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)));
    Add(std::uint64_t{text.size()});
}

void CDigest::Add(std::uint64_t number)
{
    Add(std::string_view(reinterpret_cast<const char*>(&number), sizeof(number)));
}

std::string CDigest::Text()
{
    std::array<unsigned char, 32> bytes{};
    Require(BCryptFinishHash(hash.get(), bytes.data(), static_cast<ULONG>(bytes.size()), 0));
    std::string text;
    for (const unsigned char byte : bytes)
    {
        constexpr char digits[] = "0123456789abcdef";
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string DigestOfFile(const std::wstring& path)
{
    const UniqueHandle file =
        OwnHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (file == nullptr)
        return {};
    CDigest digest;
    std::array<char, 65536> buffer{};
    DWORD read = 0;
    while (ReadFile(file.get(), buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr) && read != 0)
        digest.Add(std::string_view(buffer.data(), read));
    return digest.Text();
}

} // namespace prodsweep
