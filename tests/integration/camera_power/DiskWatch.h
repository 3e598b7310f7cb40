#pragma once

#include "integration/camera_power/DiskCall.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <vector>

/**
 * Sees every change that this program, its libraries included, makes below one folder: keeps a list
 * of them, and makes some of them fail. This program really syncs nothing.
 *
 * One lives at a time, and longer than what has files of the folder open. The functions of the C
 * library are replaced by this program's own, which ask it. Thread-safe.
 */
class DiskWatch {
public:
    struct Fault {
        int error = 0;        ///< errno
        bool lasting = false; ///< every call from then on, until heal()
        bool half = false;    ///< the write before the failing call takes half of its bytes
        bool reading = false; ///< calls that read fail, and no others
    };

    explicit DiskWatch(const std::filesystem::path& folder);
    ~DiskWatch();
    DiskWatch(const DiskWatch&) = delete;
    DiskWatch& operator=(const DiskWatch&) = delete;

    /// What the folder held at first.
    const Files& before() const { return _before; }

    std::vector<DiskCall> calls() const;
    std::size_t count() const; ///< of calls() so far

    /// The call after so many others fails.
    void failAfter(std::size_t others, Fault fault);
    void heal();
    bool hasFailed() const;

    // For the replaced functions; real is the C library's.
    static DiskWatch* current();
    template <typename Real>
    int open(const Real& real, const char* path, int flags);
    template <typename Real>
    ssize_t write(const Real& real, int descriptor, const void* bytes, std::size_t count, off_t offset);
    template <typename Real>
    ssize_t read(const Real& real, int descriptor);
    template <typename Real>
    int truncate(const Real& real, int descriptor, off_t size);
    int sync(int descriptor);
    template <typename Real>
    int close(const Real& real, int descriptor);
    template <typename Real>
    int remove(const Real& real, const char* path);
    template <typename Real>
    int rename(const Real& real, const char* from, const char* to);

private:
    static constexpr int kFolder = 0; ///< the number of the folder itself

    bool fails(bool reading = false);
    bool isWatched(const char* path, std::string& name) const;
    int numberOf(int descriptor) const;

    const std::filesystem::path _folder;
    Files _before;
    mutable std::mutex _mutex;
    std::vector<DiskCall> _calls;
    std::map<std::string, int> _names;
    std::map<int, int> _open; ///< the file of each descriptor
    int _files = 0;
    std::size_t _untilFault = 0;
    Fault _fault;
    bool _failed = false;
};

/// The files of a folder as they are; none when there is no folder.
Files readFiles(const std::filesystem::path& folder);

/// Makes the folder hold these files and no other.
void writeFiles(const std::filesystem::path& folder, const Files& files);
