#include "camera/supervisor/RuntimeFolder.h"

#include "camera/base/AtomicFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/un.h>

namespace camera::supervisor {

namespace fs = std::filesystem;

namespace {

constexpr const char* kLock = "supervisor.lock";
constexpr std::array<const char*, 6> kFiles = {"bus", "address", "state", "pid", "bus.conf", "activity"};

// Unix sockets have short paths: the terminating zero counts.
constexpr std::size_t kLongestSocketPath = sizeof(sockaddr_un::sun_path) - 1;

// FNV-1a: a name for the folder, the same in every process.
std::string hashOf(const std::string& text)
{
    std::uint64_t hash = 14695981039346656037U;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211U;
    }
    std::string digits(16, '0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, hash >>= 4U) {
        *digit = "0123456789abcdef"[hash & 15U];
    }
    return digits;
}

fs::path canonicalState(const fs::path& stateDir)
{
    std::error_code error;
    fs::path path = fs::weakly_canonical(fs::absolute(stateDir), error);
    if (error) {
        path = fs::absolute(stateDir).lexically_normal();
    }
    return path.has_filename() ? path : path.parent_path(); // "state/" is the folder "state"
}

// The user's folder of running cameras; empty when there is no usable one.
fs::path commonFolder()
{
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || *folder != '/' || ::access(folder, W_OK | X_OK) != 0) {
        return {};
    }
    return fs::path(folder) / "virtual-camera";
}

// First the one that a start takes; then, in case the starter's environment was another one, the rest.
std::vector<fs::path> placesOf(const fs::path& state)
{
    std::vector<fs::path> places;
    if (const fs::path common = commonFolder(); !common.empty()) {
        places.push_back(common / hashOf(state.string()));
    }
    places.push_back(state / "run");
    return places;
}

// Locks of the open file, not flock(): these can be asked about without being taken, so that a look at a
// folder never makes a start on it fail.
struct flock wholeFile()
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

bool isHeld(const fs::path& folder)
{
    const base::FileDescriptor file(::open((folder / kLock).c_str(), O_RDONLY | O_CLOEXEC));
    struct flock lock = wholeFile();
    return file && ::fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

std::string firstLine(const fs::path& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

void writeLine(const fs::path& path, const std::string& line)
{
    if (!base::replaceFile(path, line + '\n')) {
        throw std::runtime_error("cannot write '" + path.string() + "'; make room on the disk");
    }
}

[[noreturn]] void refuse(const fs::path& folder, const std::string& reason)
{
    throw std::runtime_error("the folder " + folder.string() + " cannot be used: " + reason +
                             "; make it writable, or name another one with XDG_RUNTIME_DIR");
}

void makeFolder(const fs::path& folder)
{
    std::error_code ignored;
    fs::create_directories(folder.parent_path(), ignored);
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        refuse(folder, std::strerror(errno));
    }
    struct stat found {};
    if (::lstat(folder.c_str(), &found) != 0 || !S_ISDIR(found.st_mode) || found.st_uid != ::geteuid()) {
        refuse(folder, "it is no folder of this user");
    }
    ::chmod(folder.c_str(), 0700);
}

// Whether the locked file is still the one of that name, and not one that its last owner took away.
bool isStill(const base::FileDescriptor& file, const fs::path& path)
{
    struct stat ours {};
    struct stat named {};
    return ::fstat(file.get(), &ours) == 0 && ::stat(path.c_str(), &named) == 0 && ours.st_ino == named.st_ino &&
           ours.st_dev == named.st_dev;
}

// As the bus writes addresses: everything but these characters as %xx.
std::string escaped(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte < 0x80 && std::isalnum(byte) != 0) || std::strchr("-_/.", character) != nullptr) {
            result += character;
        } else {
            result += '%';
            result += "0123456789abcdef"[byte >> 4U];
            result += "0123456789abcdef"[byte & 15U];
        }
    }
    return result;
}

} // namespace

RuntimeFolder::RuntimeFolder(const fs::path& stateDir)
{
    if (stateDir.empty()) {
        throw std::runtime_error("no state folder is named");
    }
    std::error_code error;
    fs::create_directories(stateDir, error);
    if (error || !fs::is_directory(stateDir)) {
        throw std::runtime_error("the state folder " + stateDir.string() +
                                 " cannot be used: " + (error ? error.message() : "it is no folder") +
                                 "; make it writable or name another one");
    }
    _stateDir = canonicalState(stateDir);
    _path = placesOf(_stateDir).front();
    if (socket().string().size() > kLongestSocketPath) {
        throw std::runtime_error("the path '" + socket().string() + "' is too long for a socket (" +
                                 std::to_string(socket().string().size()) + " bytes of at most " +
                                 std::to_string(kLongestSocketPath) +
                                 "); set XDG_RUNTIME_DIR to a folder with a shorter path");
    }
    lock();
    removeFiles();
    writeLine(_path / "pid", std::to_string(::getpid()));
    writeLine(_path / "state", _stateDir.string());
}

RuntimeFolder::~RuntimeFolder()
{
    removeFiles();
    // Under the lock: a process that waits for this lock file notices that the file is gone.
    std::error_code ignored;
    fs::remove(_path / kLock, ignored);
    fs::remove(_path, ignored);
}

void RuntimeFolder::lock()
{
    const fs::path file = _path / kLock;
    for (;;) {
        if (_path.parent_path() != _stateDir) {
            makeFolder(_path.parent_path());
        }
        makeFolder(_path);
        _lock = base::FileDescriptor(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        if (!_lock && errno == ENOENT) {
            continue; // its last owner took the folder away just now
        }
        if (!_lock) {
            refuse(_path, std::strerror(errno));
        }
        const struct flock wanted = wholeFile();
        if (::fcntl(_lock.get(), F_OFD_SETLK, &wanted) != 0) {
            const std::string owner = firstLine(_path / "pid");
            throw std::runtime_error("the state folder " + _stateDir.string() + " is in use by " +
                                     (owner.empty() ? "another process" : "process " + owner) +
                                     "; end it or name another folder");
        }
        if (isStill(_lock, file)) {
            return;
        }
    }
}

void RuntimeFolder::removeFiles() const
{
    for (const char* name : kFiles) {
        std::error_code ignored;
        fs::remove(_path / name, ignored);
    }
}

std::string RuntimeFolder::address() const
{
    return "unix:path=" + escaped(socket().string());
}

void RuntimeFolder::announce() const
{
    writeLine(_path / "address", address());
}

std::optional<std::string> RuntimeFolder::find(const fs::path& stateDir)
{
    for (const fs::path& place : placesOf(canonicalState(stateDir))) {
        if (isHeld(place)) {
            const std::string address = firstLine(place / "address");
            if (!address.empty()) {
                return address;
            }
        }
    }
    return std::nullopt;
}

std::vector<RunningCamera> RuntimeFolder::running()
{
    std::vector<RunningCamera> found;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(commonFolder(), ignored)) {
        const std::string address = firstLine(entry.path() / "address");
        const std::string state = firstLine(entry.path() / "state");
        if (!address.empty() && !state.empty() && isHeld(entry.path())) {
            found.push_back({state, address});
        }
    }
    std::sort(found.begin(), found.end(),
              [](const RunningCamera& a, const RunningCamera& b) { return a.stateDir < b.stateDir; });
    return found;
}

} // namespace camera::supervisor
