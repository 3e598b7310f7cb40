#include "integration/camera_power/DiskWatch.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

std::atomic<DiskWatch*> watching{nullptr};

bool isIndex(const std::string& name)
{
    return name.size() > 4 && name.compare(name.size() - 4, 4, "-shm") == 0;
}

} // namespace

Files readFiles(const std::filesystem::path& folder)
{
    Files files;
    std::error_code absent;
    for (const auto& entry : std::filesystem::directory_iterator(folder, absent)) {
        std::ifstream file(entry.path(), std::ios::binary);
        files[entry.path().filename().string()] =
            std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return files;
}

void writeFiles(const std::filesystem::path& folder, const Files& files)
{
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    for (const auto& [name, content] : files) {
        std::ofstream(folder / name, std::ios::binary) << content;
    }
}

DiskWatch::DiskWatch(const std::filesystem::path& folder) : _folder(folder), _before(readFiles(folder))
{
    for (const auto& entry : _before) {
        _names[entry.first] = ++_files; // as the model numbers them
    }
    watching = this;
}

DiskWatch::~DiskWatch()
{
    watching = nullptr;
}

std::vector<DiskCall> DiskWatch::calls() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _calls;
}

std::size_t DiskWatch::count() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _calls.size();
}

void DiskWatch::failAfter(std::size_t others, Fault fault)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _untilFault = others;
    _fault = fault;
    _failed = false;
}

void DiskWatch::heal()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _fault = {};
}

bool DiskWatch::hasFailed() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _failed;
}

DiskWatch* DiskWatch::current()
{
    return watching;
}

bool DiskWatch::fails(bool reading)
{
    if (_fault.error == 0 || _fault.reading != reading) {
        return false;
    }
    if (_untilFault > 0) {
        --_untilFault;
        return false;
    }
    _failed = true;
    errno = _fault.error;
    if (!_fault.lasting) {
        _fault = {};
    }
    return true;
}

bool DiskWatch::isWatched(const char* path, std::string& name) const
{
    const std::string& folder = _folder.native();
    const std::string text = path;
    if (text.compare(0, folder.size(), folder) != 0 || (text.size() > folder.size() && text[folder.size()] != '/')) {
        return false;
    }
    name = text.size() > folder.size() ? text.substr(folder.size() + 1) : std::string();
    return !isIndex(name);
}

int DiskWatch::numberOf(int descriptor) const
{
    const auto found = _open.find(descriptor);
    return found == _open.end() ? -1 : found->second;
}

template <typename Real>
int DiskWatch::open(const Real& real, const char* path, int flags)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::string name;
    if (!isWatched(path, name)) {
        return real();
    }
    const bool writes = (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT) != 0;
    if (writes && fails()) {
        return -1;
    }
    const int descriptor = real();
    if (descriptor < 0) {
        return descriptor;
    }
    if (name.empty()) {
        _open[descriptor] = kFolder;
        return descriptor;
    }
    if (_names.count(name) == 0) {
        _names[name] = ++_files;
        _calls.push_back({DiskCall::Kind::create, _files, name, {}, 0, {}});
    }
    _open[descriptor] = _names[name];
    if ((flags & O_TRUNC) != 0) {
        _calls.push_back({DiskCall::Kind::truncate, _names[name], {}, {}, 0, {}});
    }
    return descriptor;
}

template <typename Real>
ssize_t DiskWatch::write(const Real& real, int descriptor, const void* bytes, std::size_t count, off_t offset)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const int file = numberOf(descriptor);
    if (file < 0) {
        return real(count);
    }
    if (_fault.half && _untilFault == 0 && count > 1) {
        count /= 2;
        _fault.half = false;
        _failed = true;
    } else if (fails()) {
        return -1;
    }
    const off_t at = offset >= 0 ? offset : lseek(descriptor, 0, SEEK_CUR);
    const ssize_t written = real(count);
    if (written > 0) {
        _calls.push_back({DiskCall::Kind::write,
                          file,
                          {},
                          {},
                          at,
                          std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(written))});
    }
    return written;
}

template <typename Real>
ssize_t DiskWatch::read(const Real& real, int descriptor)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return numberOf(descriptor) > 0 && fails(true) ? -1 : real();
}

template <typename Real>
int DiskWatch::truncate(const Real& real, int descriptor, off_t size)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const int file = numberOf(descriptor);
    if (file >= 0 && fails()) {
        return -1;
    }
    const int result = real();
    if (file >= 0 && result == 0) {
        _calls.push_back({DiskCall::Kind::truncate, file, {}, {}, size, {}});
    }
    return result;
}

int DiskWatch::sync(int descriptor)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const int file = numberOf(descriptor);
    if (file < 0) {
        return 0;
    }
    if (fails()) {
        return -1;
    }
    _calls.push_back({file == kFolder ? DiskCall::Kind::syncFolder : DiskCall::Kind::sync, file, {}, {}, 0, {}});
    return 0;
}

template <typename Real>
int DiskWatch::close(const Real& real, int descriptor)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _open.erase(descriptor);
    return real();
}

template <typename Real>
int DiskWatch::remove(const Real& real, const char* path)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::string name;
    if (!isWatched(path, name) || _names.count(name) == 0) {
        return real();
    }
    if (fails()) {
        return -1;
    }
    const int result = real();
    if (result == 0) {
        _calls.push_back({DiskCall::Kind::remove, _names[name], name, {}, 0, {}});
        _names.erase(name);
    }
    return result;
}

template <typename Real>
int DiskWatch::rename(const Real& real, const char* from, const char* to)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::string name;
    std::string newName;
    if (!isWatched(from, name) || !isWatched(to, newName)) {
        return real();
    }
    if (fails()) {
        return -1;
    }
    const int result = real();
    if (result == 0) {
        _calls.push_back({DiskCall::Kind::rename, _names[name], name, newName, 0, {}});
        _names[newName] = _names[name];
        _names.erase(name);
    }
    return result;
}

// The functions of the C library that change files or name them, as this program has them.

#define POWER_TEST_REPLACES __attribute__((visibility("default")))

namespace {

template <typename Function>
Function next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

using Open = int (*)(const char*, int, ...);
using Write = ssize_t (*)(int, const void*, size_t);
using WriteAt = ssize_t (*)(int, const void*, size_t, off_t);
using Read = ssize_t (*)(int, void*, size_t);
using ReadAt = ssize_t (*)(int, void*, size_t, off_t);
using Truncate = int (*)(int, off_t);
using OnDescriptor = int (*)(int);
using OnPath = int (*)(const char*);
using Rename = int (*)(const char*, const char*);

int openAs(Open function, const char* path, int flags, va_list arguments)
{
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    const auto real = [&] { return function(path, flags, mode); };
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->open(real, path, flags) : real();
}

ssize_t writeAs(WriteAt function, int descriptor, const void* bytes, size_t size, off_t offset)
{
    const auto real = [&](size_t count) { return function(descriptor, bytes, count, offset); };
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->write(real, descriptor, bytes, size, offset) : real(size);
}

template <typename Real>
ssize_t readAs(const Real& real, int descriptor)
{
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->read(real, descriptor) : real();
}

int truncateAs(Truncate function, int descriptor, off_t size)
{
    const auto real = [&] { return function(descriptor, size); };
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->truncate(real, descriptor, size) : real();
}

// Nothing is really synced, watched or not: no power is cut here, and a disk would take most of the time.
int syncAs(int descriptor)
{
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->sync(descriptor) : 0;
}

int removeAs(OnPath function, const char* path)
{
    const auto real = [&] { return function(path); };
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->remove(real, path) : real();
}

} // namespace

extern "C" {

POWER_TEST_REPLACES int open(const char* path, int flags, ...)
{
    static const auto function = next<Open>("open");
    va_list arguments;
    va_start(arguments, flags);
    const int result = openAs(function, path, flags, arguments);
    va_end(arguments);
    return result;
}

POWER_TEST_REPLACES int open64(const char* path, int flags, ...)
{
    static const auto function = next<Open>("open64");
    va_list arguments;
    va_start(arguments, flags);
    const int result = openAs(function, path, flags, arguments);
    va_end(arguments);
    return result;
}

POWER_TEST_REPLACES ssize_t write(int descriptor, const void* bytes, size_t size)
{
    static const auto function = next<Write>("write");
    const auto real = [&](size_t count) { return function(descriptor, bytes, count); };
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->write(real, descriptor, bytes, size, -1) : real(size);
}

POWER_TEST_REPLACES ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset)
{
    static const auto function = next<WriteAt>("pwrite");
    return writeAs(function, descriptor, bytes, size, offset);
}

POWER_TEST_REPLACES ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset)
{
    static const auto function = next<WriteAt>("pwrite64");
    return writeAs(function, descriptor, bytes, size, offset);
}

POWER_TEST_REPLACES ssize_t read(int descriptor, void* bytes, size_t size)
{
    static const auto function = next<Read>("read");
    return readAs([&] { return function(descriptor, bytes, size); }, descriptor);
}

POWER_TEST_REPLACES ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset)
{
    static const auto function = next<ReadAt>("pread");
    return readAs([&] { return function(descriptor, bytes, size, offset); }, descriptor);
}

POWER_TEST_REPLACES ssize_t pread64(int descriptor, void* bytes, size_t size, off64_t offset)
{
    static const auto function = next<ReadAt>("pread64");
    return readAs([&] { return function(descriptor, bytes, size, offset); }, descriptor);
}

POWER_TEST_REPLACES int ftruncate(int descriptor, off_t size) noexcept
{
    static const auto function = next<Truncate>("ftruncate");
    return truncateAs(function, descriptor, size);
}

POWER_TEST_REPLACES int ftruncate64(int descriptor, off64_t size) noexcept
{
    static const auto function = next<Truncate>("ftruncate64");
    return truncateAs(function, descriptor, size);
}

POWER_TEST_REPLACES int fsync(int descriptor)
{
    return syncAs(descriptor);
}

POWER_TEST_REPLACES int fdatasync(int descriptor)
{
    return syncAs(descriptor);
}

POWER_TEST_REPLACES int close(int descriptor)
{
    static const auto function = next<OnDescriptor>("close");
    const auto real = [&] { return function(descriptor); };
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->close(real, descriptor) : real();
}

POWER_TEST_REPLACES int unlink(const char* path) noexcept
{
    static const auto function = next<OnPath>("unlink");
    return removeAs(function, path);
}

POWER_TEST_REPLACES int remove(const char* path) noexcept
{
    static const auto function = next<OnPath>("remove");
    return removeAs(function, path);
}

POWER_TEST_REPLACES int rename(const char* from, const char* to) noexcept
{
    static const auto function = next<Rename>("rename");
    const auto real = [&] { return function(from, to); };
    DiskWatch* const watch = DiskWatch::current();
    return watch != nullptr ? watch->rename(real, from, to) : real();
}

} // extern "C"
