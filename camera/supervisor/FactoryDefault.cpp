// Two files stand in the folder while it is on this way: kNote says that it is, from the beginning to the end, and
// kKept has what is kept, before anything is removed. A process that is killed at any moment leaves both to the next
// one.

#include "camera/supervisor/FactoryDefault.h"

#include "camera/base/AtomicFile.h"
#include "camera/base/JsonText.h"
#include "camera/ptz/PositioningDocument.h"
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"

#include <chrono>
#include <json/value.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

namespace camera::supervisor {

namespace fs = std::filesystem;

namespace {

constexpr const char* kNote = "factory-default";
constexpr const char* kHard = "hard\n";
constexpr const char* kSoft = "soft\n";
constexpr const char* kKept = "factory-default.kept";
constexpr const char* kCamera = "camera.json";
constexpr std::size_t kMostBytes = 64 * 1024;

void write(const fs::path& file, const std::string& content)
{
    if (!base::replaceFileDurably(file, content)) {
        throw std::runtime_error("cannot write '" + file.string() + "'; make room on the disk");
    }
}

// The processes of a camera that was killed end a moment after it.
store::StateLock lockOf(const fs::path& folder)
{
    constexpr int kAttempts = 100;
    for (int attempt = 1; attempt < kAttempts; ++attempt) {
        try {
            return store::StateLock(folder);
        } catch (const std::runtime_error&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    return store::StateLock(folder);
}

// What is stored of the places of a PTZ camera, without its tours.
std::string presetsOf(const fs::path& stateDir)
{
    const std::optional<std::string> document = store::SettingsStore(stateDir).read(ptz::kPositioningKey);
    ptz::PositioningState state;
    if (!document || !ptz::readPositioning(*document, state).empty()) {
        return "";
    }
    state.tours.clear();
    return ptz::writePositioning(state);
}

void removeSettings(const fs::path& folder, bool damagedToo)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (name.rfind("settings.", 0) == 0 && (damagedToo || name.find(".damaged-") == std::string::npos)) {
            fs::remove(entry.path());
        }
    }
    base::syncToDisk(folder);
}

// A file that cannot be read is left to the pipeline, which tells and replaces it.
void makeFactoryConfigurationDue(const fs::path& stateDir)
{
    const std::optional<std::string> text = base::readFile(stateDir / kCamera);
    try {
        Json::Value camera = text ? base::readStrictJson(*text, kMostBytes) : Json::Value();
        if (camera.isObject()) {
            camera["factoryDue"] = true;
            write(stateDir / kCamera, base::oneLineJson(camera) + "\n");
        }
    } catch (const std::invalid_argument&) {
        return;
    }
}

} // namespace

void beginFactoryDefault(const fs::path& stateDir, bool hard)
{
    write(stateDir / kNote, hard ? kHard : kSoft);
}

void finishFactoryDefault(const fs::path& stateDir)
{
    const std::optional<std::string> note = base::readFile(stateDir / kNote);
    if (!note) {
        return;
    }
    const bool hard = note == kHard;
    const fs::path kept = stateDir / kKept;
    const fs::path services = stateDir / "services";
    const store::StateLock lock = lockOf(stateDir);
    if (!hard && !fs::exists(kept)) {
        write(kept, presetsOf(stateDir));
    }
    removeSettings(stateDir, hard);
    if (fs::exists(services)) {
        const store::StateLock ofServices = lockOf(services);
        removeSettings(services, hard);
    }
    if (hard) {
        fs::remove_all(stateDir / "gateway");
    } else if (const std::string presets = base::readFile(kept).value_or(""); !presets.empty()) {
        store::SettingsStore(stateDir).write(ptz::kPositioningKey, presets);
    }
    makeFactoryConfigurationDue(stateDir);
    fs::remove(kept);
    fs::remove(stateDir / kNote);
    base::syncToDisk(stateDir);
}

} // namespace camera::supervisor
