#include "log_file.h"

#include "rotation.h"

namespace prodsweep::logger {

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

} // namespace

void CLogFile::Use(const Settings& settings)
{
    constexpr std::uint64_t kib = 1024;
    if (settings.path != path)
    {
        Close();
        path = settings.path;
        mutex.GoFor(path);
        isBegun = false;
    }
    overwrite = settings.mode == LOG_MODE_OVERWRITE;
    limit = settings.maxSize * kib;
    depth = settings.depth;
}

DWORD CLogFile::Append(std::string_view line, bool onDisk)
{
    // Without the mutex the line is still written, at what is the end at that moment; but nothing is moved.
    const CFileMutexGuard guard(mutex);
    if (file != nullptr && IsDeleted(State()))
        Close();
    DWORD error = file == nullptr ? Open() : ERROR_SUCCESS;
    if (error == ERROR_SUCCESS && guard.IsOurs() && IsFull(State()))
        error = MakeRoom();
    if (error == ERROR_SUCCESS)
        error = Write(line);
    if (error == ERROR_SUCCESS && onDisk)
        Flush();
    return error;
}

DWORD CLogFile::Open()
{
    // Right to append only: the system then finds the end anew for each write.
    file = OwnFile(CreateFileW(path.c_str(), FILE_APPEND_DATA | GENERIC_READ, shareAll, nullptr, OPEN_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file == nullptr)
        return GetLastError();
    // A pipe could keep us waiting.
    if (GetFileType(file.get()) != FILE_TYPE_DISK)
    {
        Close();
        return ERROR_BAD_DEVICE;
    }
    if (overwrite && !isBegun)
        static_cast<void>(PutAside(path, 0));
    isBegun = true;
    endsInALine = EndsInALine();
    return ERROR_SUCCESS;
}

FILE_STANDARD_INFO CLogFile::State() const noexcept
{
    FILE_STANDARD_INFO state{};
    // Not to be known on some network: neither deleted nor full then.
    if (!GetFileInformationByHandleEx(file.get(), FileStandardInfo, &state, sizeof state))
        state.NumberOfLinks = 1;
    return state;
}

bool CLogFile::IsDeleted(const FILE_STANDARD_INFO& state) noexcept
{
    return state.NumberOfLinks == 0 || state.DeletePending != FALSE;
}

bool CLogFile::IsFull(const FILE_STANDARD_INFO& state) const noexcept
{
    return limit != 0 && static_cast<std::uint64_t>(state.EndOfFile.QuadPart) >= limit;
}

// False after a writer was cut off by a full disk or a fallen machine.
bool CLogFile::EndsInALine() const noexcept
{
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.get(), &size) || size.QuadPart == 0)
        return true;
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(size.QuadPart - 1);
    place.OffsetHigh = static_cast<DWORD>((size.QuadPart - 1) >> 32);
    char last = '\n';
    DWORD read = 0;
    return !ReadFile(file.get(), &last, 1, &read, &place) || last == '\n';
}

// A file is put aside no sooner than it is full, and so a full one is either still in its place, or another process has
// put it aside, in which case the file that we have open is an old one. Opening it anew tells which.
DWORD CLogFile::MakeRoom()
{
    Close();
    if (const DWORD error = Open(); error != ERROR_SUCCESS)
        return error;
    if (!IsFull(State()))
        return ERROR_SUCCESS;
    Close();
    // Somebody may keep it from being moved. It then grows, until that is over.
    static_cast<void>(PutAside(path, depth));
    return Open();
}

DWORD CLogFile::Write(std::string_view line)
{
    const std::string whole = (endsInALine ? "" : "\n") + std::string(line);
    DWORD written = 0;
    const BOOL success = WriteFile(file.get(), whole.data(), static_cast<DWORD>(whole.size()), &written, nullptr);
    const DWORD error = success ? ERROR_DISK_FULL : GetLastError();
    if (written == whole.size())
    {
        endsInALine = true;
        return ERROR_SUCCESS;
    }
    if (written != 0)
        endsInALine = false;
    return error;
}

// Not for each line of a flood of errors: a disk takes milliseconds for one.
void CLogFile::Flush() noexcept
{
    constexpr ULONGLONG interval = 200;
    const ULONGLONG now = GetTickCount64();
    if (flushed != 0 && now - flushed < interval)
        return;
    FlushFileBuffers(file.get());
    flushed = now;
}

} // namespace prodsweep::logger
