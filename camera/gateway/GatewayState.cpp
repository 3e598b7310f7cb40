#include "camera/gateway/GatewayState.h"

#include "camera/base/AtomicFile.h"
#include "camera/base/Log.h"
#include "camera/onvif/Uuid.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

namespace camera::gateway {

namespace {

constexpr const char* kUuidKey = "uuid";
constexpr onvif::IrCutFilter kFirstFilter = onvif::IrCutFilter::automatic;

} // namespace

GatewayState::GatewayState(const std::filesystem::path& stateDir, const Wanted& wanted, DiskThread& disk,
                           boost::asio::io_context& context)
    : _folder(stateDir / "gateway"), _usersFile(_folder / "users"), _lock(_folder), _store(_folder)
{
    _uuid = readOr(kUuidKey, std::string(), [](const std::string& text) { return std::optional(text); });
    if (_uuid.empty()) {
        _uuid = onvif::newUuid();
        _store.write(kUuidKey, _uuid);
    }
    _users = std::make_unique<StoredValue<onvif::Users>>(
        usersAtStart(wanted), [this](const onvif::Users& users) { writeUsers(users); }, disk, context);
    _device = stored(
        "device", onvif::DeviceSettings(), [](const auto& settings) { return onvif::format(settings); },
        onvif::parseDeviceSettings, disk, context);
    _media = stored(
        "media", onvif::MediaSettings(), [](const auto& settings) { return onvif::format(settings); },
        onvif::parseMediaSettings, disk, context);
    _intended = stored(
        "intended", onvif::IntendedChange(), [](const auto& change) { return onvif::format(change); },
        onvif::parseIntendedChange, disk, context);
    _ptz = stored(
        "ptz", onvif::PtzSettings(), [](const auto& settings) { return onvif::format(settings); },
        onvif::parsePtzSettings, disk, context);
    _filter = stored("filter", kFirstFilter, onvif::filterText, onvif::filterNamed, disk, context);
}

template <class T, class Text, class Parse>
std::unique_ptr<StoredValue<T>> GatewayState::stored(const char* key, T otherwise, Text text, Parse parse,
                                                     DiskThread& disk, boost::asio::io_context& context)
{
    return std::make_unique<StoredValue<T>>(
        readOr(key, std::move(otherwise), parse), [this, key, text](const T& value) { _store.write(key, text(value)); },
        disk, context);
}

onvif::Users GatewayState::usersAtStart(const Wanted& wanted)
{
    if (wanted.users) {
        writeUsers(*wanted.users);
        return *wanted.users;
    }
    if (std::filesystem::exists(_usersFile)) {
        try {
            const std::optional<std::string> text = base::readFile(_usersFile);
            if (!text) {
                throw std::runtime_error("cannot read '" + _usersFile.string() + "'");
            }
            return onvif::readUsers(*text);
        } catch (const std::exception& error) {
            throw std::runtime_error("the users in '" + _usersFile.string() + "' cannot be read: " + error.what() +
                                     "; mend or remove the file");
        }
    }
    _firstPassword = onvif::firstPassword();
    onvif::Users users({{kFirstUser, onvif::UserLevel::administrator, _firstPassword}});
    writeUsers(users);
    return users;
}

void GatewayState::reset(const onvif::Done& done)
{
    // One after the other; the first failure ends it.
    const auto thenChange = [](auto& kept, const auto& edit, const onvif::Done& then) -> onvif::Done {
        return [&kept, edit, then](const std::optional<onvif::Fault>& failure) {
            if (failure) {
                then(failure);
            } else {
                kept.change(edit, then);
            }
        };
    };
    const auto ptz = thenChange(
        *_ptz, [](auto& wanted) { wanted = onvif::PtzSettings(); }, done);
    const auto filter = thenChange(
        *_filter, [](auto& wanted) { wanted = kFirstFilter; }, ptz);
    const auto media = thenChange(
        *_media, [](auto& wanted) { wanted = onvif::MediaSettings(); }, filter);
    _device->change(
        [](onvif::DeviceSettings& settings) {
            onvif::DeviceSettings first;
            first.network = settings.network;
            settings = first;
        },
        media);
}

std::string GatewayState::firstAdministrator() const
{
    const auto& all = _users->value().all();
    return std::find_if(all.begin(), all.end(),
                        [](const onvif::User& user) { return user.level == onvif::UserLevel::administrator; })
        ->name;
}

void GatewayState::writeUsers(const onvif::Users& users) const
{
    if (!base::replaceFileDurably(_usersFile, onvif::usersText(users))) {
        throw std::runtime_error("cannot write '" + _usersFile.string() + "'");
    }
}

template <class T, class Parse>
T GatewayState::readOr(const char* key, T otherwise, Parse parse)
{
    const std::optional<std::string> document = _store.read(key);
    if (!document) {
        return otherwise;
    }
    if (auto stored = parse(*document)) {
        return std::move(*stored);
    }
    base::Log::instance().write(base::LogLevel::error, "camera-gateway",
                                "what is stored under '" + std::string(key) + "' in " + _store.file().string() +
                                    " is not what the gateway stores; the defaults hold");
    return otherwise;
}

} // namespace camera::gateway
