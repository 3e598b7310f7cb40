#pragma once

#include "camera/gateway/StoredValue.h"
#include "camera/onvif/DeviceSettings.h"
#include "camera/onvif/ImagingService.h"
#include "camera/onvif/IntendedChange.h"
#include "camera/onvif/MediaSettings.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/PtzSettings.h"
#include "camera/onvif/Users.h"
#include "camera/store/SettingsStore.h"
#include "camera/store/StateLock.h"

#include <boost/asio/io_context.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace camera::gateway {

/**
 * What the gateway keeps in the folder "gateway" of the state folder: its settings in a store of their own, and the
 * users, whose passwords must be readable for the device, in the file "users" that only this user may read.
 *
 * Thread-bound: that of the io_context. The disk thread has stopped before it is destroyed.
 */
class GatewayState {
public:
    /// Who may log in from now on.
    struct Wanted {
        std::optional<onvif::Users> users; ///< replace those that are kept
    };

    /// @throws std::runtime_error with one sentence: the folder or a file in it cannot be used.
    GatewayState(const std::filesystem::path& stateDir, const Wanted& wanted, DiskThread& disk,
                 boost::asio::io_context& context);

    onvif::Kept<onvif::Users>& users() { return *_users; }
    onvif::Kept<onvif::DeviceSettings>& device() { return *_device; }
    onvif::Kept<onvif::MediaSettings>& media() { return *_media; }
    void whenMediaChanged(StoredValue<onvif::MediaSettings>::Changed changed)
    {
        _media->whenChanged(std::move(changed));
    }
    onvif::Kept<onvif::IrCutFilter>& filter() { return *_filter; }
    onvif::Kept<onvif::PtzSettings>& ptz() { return *_ptz; }
    onvif::Kept<onvif::IntendedChange>& intended() { return *_intended; }

    /// Has a function called after each change of the device's settings.
    void whenDeviceChanged(const std::function<void()>& function)
    {
        _device->whenChanged([function](const auto& /*before*/, const auto& /*after*/) { function(); });
    }

    /// Makes everything as it was at first, but users and network answers. @param done  called when it is durable.
    void reset(const onvif::Done& done);

    /// The password of the first administrator where this start has made it; else empty.
    const std::string& firstPassword() const { return _firstPassword; }
    /// The name of one who may do everything: the first one, where several may.
    std::string firstAdministrator() const;
    const std::filesystem::path& usersFile() const { return _usersFile; }

    /// Made at the first start, the same for ever: without "urn:uuid:".
    const std::string& uuid() const { return _uuid; }

    static constexpr const char* kFirstUser = "admin";

private:
    onvif::Users usersAtStart(const Wanted& wanted);
    void writeUsers(const onvif::Users& users) const;
    /// What is stored under a key, kept there. @param text, parse  the document, and back.
    template <class T, class Text, class Parse>
    std::unique_ptr<StoredValue<T>> stored(const char* key, T otherwise, Text text, Parse parse, DiskThread& disk,
                                           boost::asio::io_context& context);
    template <class T, class Parse>
    T readOr(const char* key, T otherwise, Parse parse);

    const std::filesystem::path _folder;
    const std::filesystem::path _usersFile;
    store::StateLock _lock;
    store::SettingsStore _store;
    std::string _firstPassword;
    std::string _uuid;
    std::unique_ptr<StoredValue<onvif::Users>> _users;
    std::unique_ptr<StoredValue<onvif::DeviceSettings>> _device;
    std::unique_ptr<StoredValue<onvif::MediaSettings>> _media;
    std::unique_ptr<StoredValue<onvif::IrCutFilter>> _filter;
    std::unique_ptr<StoredValue<onvif::PtzSettings>> _ptz;
    std::unique_ptr<StoredValue<onvif::IntendedChange>> _intended;
};

} // namespace camera::gateway
