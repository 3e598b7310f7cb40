#include "camera/cli/StoredDocuments.h"

#include "camera/base/UtcText.h"
#include "camera/pipeline/RunReport.h"
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"

#include <stdexcept>
#include <string>

namespace camera::cli {

namespace {

// The key under which the plug-in keeps its configurations.
constexpr char kAnalyticsKey[] = "OnvifAnalytics";

/// The folder's settings, held by this process. Unlike a camera it does not make a folder that is not there.
class Stored {
public:
    explicit Stored(const std::filesystem::path& folder)
        : lock(existing(folder)), store(store::SettingsStore::Options{folder, 0})
    {
    }

private:
    static const std::filesystem::path& existing(const std::filesystem::path& folder)
    {
        std::error_code ignored;
        if (!std::filesystem::is_directory(folder, ignored)) {
            throw std::runtime_error("there is no state folder '" + folder.string() +
                                     "'; name the folder that a camera was run with.");
        }
        return folder;
    }

    store::StateLock lock;

public:
    store::SettingsStore store;
};

} // namespace

void printHistory(const std::filesystem::path& stateDir, base::Console& console)
{
    Stored stored(stateDir);
    const auto versions = stored.store.history(kAnalyticsKey);
    for (const auto& version : versions) {
        console.line(std::to_string(version.sequence) + "  " + base::utcText(version.storedAt) + "  " +
                     pipeline::sizeText(version.sizeBytes) + (version.good ? "" : "  damaged"));
    }
    if (versions.empty()) {
        console.line("Nothing was ever stored in '" + stateDir.string() + "'.");
    }
}

void restoreDocument(const std::filesystem::path& stateDir, long long sequence, base::Console& console)
{
    Stored stored(stateDir);
    if (!stored.store.restore(kAnalyticsKey, sequence)) {
        throw std::runtime_error("there is no usable document " + std::to_string(sequence) + " in '" +
                                 stateDir.string() + "'; camera config history lists those that there are.");
    }
    console.line("Document " + std::to_string(sequence) + " is the newest again; the next start uses it.");
}

} // namespace camera::cli
