#pragma once

#include "integration/camera_power/DiskCall.h"

#include <cstddef>
#include <random>
#include <string>
#include <vector>

/**
 * A disk that keeps only what it was told to sync.
 *
 * After a cut a file holds everything written before its last sync; of what was written since, each
 * write and each change of size is there, is not, or is there in some of its 512-byte sectors. Since
 * a later one may be there without an earlier one, this is every order in which a disk could have
 * taken them. Names of a folder go the same way and are kept by a sync of the folder only.
 *
 * The index of the write-ahead log lives in memory: a cut leaves rubbish of it, or nothing.
 */
class DiskModel {
public:
    explicit DiskModel(const Files& durable);

    void apply(const DiskCall& call);

    Files afterCut(std::mt19937_64& random) const;

private:
    struct File {
        std::string durable;
        std::vector<DiskCall> pending;
    };
    using Names = std::map<std::string, int>;
    enum class Fate { kept, dropped, prefix, some, sectors };

    static void rename(Names& names, const DiskCall& call);
    static std::string content(const File& file, Fate fate, std::mt19937_64& random);
    Names names(Fate fate, std::mt19937_64& random) const;

    std::map<int, File> _files;
    Names _durableNames;
    std::vector<DiskCall> _pendingNames;
};
