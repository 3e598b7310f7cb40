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
#include <tuple>
#include <unistd.h>
#include <utility>

namespace camera::supervisor {

namespace fs = std::filesystem;

namespace {

constexpr const char* kLock = "supervisor.lock";
constexpr const char* kFolder = "virtual-camera";
constexpr const char* kPointer = "runtime"; ///< in the state folder: the path of the runtime folder
constexpr std::array<const char*, 7> kFiles = {"bus", "address", "state", "pid", "bus.conf", "activity", "counts"};

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

std::string firstLine(const fs::path& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

bool isUsable(const fs::path& folder)
{
    struct stat found {};
    return folder.is_absolute() && ::stat(folder.c_str(), &found) == 0 && S_ISDIR(found.st_mode) &&
           found.st_uid == ::geteuid() && ::access(folder.c_str(), W_OK | X_OK) == 0;
}

// A real folder of that user, into which nobody else can have put anything.
bool isPrivate(const fs::path& folder, uid_t user)
{
    struct stat found {};
    return ::lstat(folder.c_str(), &found) == 0 && S_ISDIR(found.st_mode) && found.st_uid == user &&
           (found.st_mode & 07777U) == 0700;
}

fs::path temporaryFolder(const RuntimeRoots& roots, uid_t user)
{
    return roots.temporary / (kFolder + ("-" + std::to_string(user)));
}

// The user's folders of running cameras: first the one that a start takes, then where others of this user may have
// started. A runtime directory that is not the system's own stands for itself alone.
std::vector<fs::path> commonFolders(const RuntimeRoots& roots)
{
    const fs::path users = roots.users / std::to_string(::geteuid());
    const char* given = std::getenv("XDG_RUNTIME_DIR");
    if (given != nullptr && isUsable(given) && fs::path(given).lexically_normal() != users) {
        return {fs::path(given) / kFolder};
    }
    std::vector<fs::path> folders;
    if (isUsable(users)) {
        folders.push_back(users / kFolder);
    }
    folders.push_back(temporaryFolder(roots, ::geteuid()));
    return folders;
}

// Where a camera on this state folder may run.
std::vector<fs::path> placesOf(const fs::path& state, const RuntimeRoots& roots)
{
    std::vector<fs::path> places;
    for (const fs::path& common : commonFolders(roots)) {
        if (isPrivate(common, ::geteuid())) {
            places.push_back(common / hashOf(state.string()));
        }
    }
    if (const fs::path named = firstLine(state / kPointer); !named.empty()) {
        places.push_back(named);
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

// What others than that user could have written is left out.
void addRunning(std::vector<RunningCamera>& found, const fs::path& common, uid_t user)
{
    if (!isPrivate(common, user)) {
        return;
    }
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(common, ignored)) {
        const std::string address = firstLine(entry.path() / "address");
        const std::string state = firstLine(entry.path() / "state");
        if (!address.empty() && !state.empty() && isHeld(entry.path())) {
            found.push_back({state, address, firstLine(entry.path() / "pid"), user});
        }
    }
}

std::vector<RunningCamera> sorted(std::vector<RunningCamera> cameras)
{
    std::sort(cameras.begin(), cameras.end(), [](const RunningCamera& a, const RunningCamera& b) {
        return std::tie(a.user, a.stateDir) < std::tie(b.user, b.stateDir);
    });
    return cameras;
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

RuntimeFolder::RuntimeFolder(const fs::path& stateDir, const RuntimeRoots& roots)
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
    const fs::path common = commonFolders(roots).front();
    if (::mkdir(common.c_str(), 0700), isPrivate(common, ::geteuid())) {
        _path = common / hashOf(_stateDir.string());
    } else {
        _path = _stateDir / "run";
        _notice = "'" + common.string() +
                  "' is no folder that only this user can use (mode 700); the camera is found by its state folder "
                  "alone, with --camera DIR";
    }
    if (socket().string().size() > kLongestSocketPath) {
        throw std::runtime_error("the path '" + socket().string() + "' is too long for a socket (" +
                                 std::to_string(socket().string().size()) + " bytes of at most " +
                                 std::to_string(kLongestSocketPath) +
                                 "); set XDG_RUNTIME_DIR to a folder with a shorter path");
    }
    lock();
    for (const fs::path& place : placesOf(_stateDir, roots)) {
        if (place != _path && isHeld(place)) {
            refuseInUse(place);
        }
    }
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

void RuntimeFolder::refuseInUse(const fs::path& place) const
{
    const std::string owner = firstLine(place / "pid");
    throw std::runtime_error("the state folder " + _stateDir.string() + " is in use by " +
                             (owner.empty() ? "another process" : "process " + owner) +
                             "; end it or name another folder");
}

void RuntimeFolder::lock()
{
    const fs::path file = _path / kLock;
    for (;;) {
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
            refuseInUse(_path);
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
    std::error_code ignored;
    fs::remove(_stateDir / kPointer, ignored);
}

std::string RuntimeFolder::address() const
{
    return "unix:path=" + escaped(socket().string());
}

void RuntimeFolder::announce() const
{
    writeLine(_path / "address", address());
    if (_path.parent_path() != _stateDir) {
        writeLine(_stateDir / kPointer, _path.string());
    }
}

std::optional<std::string> RuntimeFolder::find(const fs::path& stateDir, const RuntimeRoots& roots)
{
    for (const fs::path& place : placesOf(canonicalState(stateDir), roots)) {
        if (isHeld(place)) {
            const std::string address = firstLine(place / "address");
            if (!address.empty()) {
                return address;
            }
        }
    }
    return std::nullopt;
}

std::vector<RunningCamera> RuntimeFolder::running(const RuntimeRoots& roots)
{
    std::vector<RunningCamera> found;
    for (const fs::path& common : commonFolders(roots)) {
        addRunning(found, common, ::geteuid());
    }
    return sorted(std::move(found));
}

std::vector<RunningCamera> RuntimeFolder::runningOfAllUsers(const RuntimeRoots& roots)
{
    std::vector<RunningCamera> found = running(roots);
    const std::vector<fs::path> own = commonFolders(roots);
    const std::string prefix = std::string(kFolder) + "-";
    const auto add = [&](const fs::path& common, const std::string& digits) {
        if (std::find(own.begin(), own.end(), common) == own.end() && !digits.empty() &&
            digits.find_first_not_of("0123456789") == std::string::npos && digits.size() < 10) {
            addRunning(found, common, static_cast<uid_t>(std::stoul(digits)));
        }
    };
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(roots.users, ignored)) {
        add(entry.path() / kFolder, entry.path().filename().string());
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(roots.services, ignored)) {
        struct stat service {};
        if (::stat(entry.path().c_str(), &service) == 0) {
            addRunning(found, entry.path() / kFolder, service.st_uid);
        }
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(roots.temporary, ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.compare(0, prefix.size(), prefix) == 0) {
            add(entry.path(), name.substr(prefix.size()));
        }
    }
    return sorted(std::move(found));
}

} // namespace camera::supervisor
