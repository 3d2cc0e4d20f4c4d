// SHA-256, in hexadecimal digits.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <windows.h>

#include <bcrypt.h>

namespace prodsweep {

class CDigest
{
public:
    CDigest(); // throws CFailure when the system has no such digest

    void Add(std::string_view bytes);
    // The bytes of the text, and a mark of where it ends: "ab" and "c" differ from "a" and "bc".
    void Add(std::wstring_view text);
    void Add(std::uint64_t number);

    // Once, at the end.
    std::string Text();

private:
    struct AlgorithmCloser
    {
        void operator()(void* algorithm) const noexcept { BCryptCloseAlgorithmProvider(algorithm, 0); }
    };
    struct HashCloser
    {
        void operator()(void* hash) const noexcept { BCryptDestroyHash(hash); }
    };

    std::unique_ptr<void, AlgorithmCloser> algorithm;
    std::unique_ptr<void, HashCloser> hash;
};

// Of the file's bytes; empty when it can't be read.
std::string DigestOfFile(const std::wstring& path);

} // namespace prodsweep
