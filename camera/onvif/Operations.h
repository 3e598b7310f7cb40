#pragma once

#include "camera/onvif/AccessPolicy.h"
#include "camera/onvif/Envelope.h"
#include "camera/onvif/Fault.h"
#include "camera/onvif/HttpExchange.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace camera::onvif {

/// One request, whose client may make it.
struct Call {
    Envelope envelope;
    std::string base;      ///< how the client reached the device: "http://192.168.1.2:8080"
    std::string user = {}; ///< empty: it did not log in
    UserLevel level = UserLevel::anonymous;
    std::string target = {}; ///< the path of the address that it was sent to
    std::string peer = {};   ///< the client's address without its port
    WhenGone whenGone = {};  ///< empty: nobody knows

    pugi::xml_node request() const { return envelope.request(); }

    /// An answer to it, to be filled.
    Answer answer() const { return Answer(envelope.operation() + "Response"); }
};

/// A value, or why there is none.
template <class T>
using Outcome = std::variant<T, Fault>;

/// Asks a part of the device that answers once, perhaps later, on the thread of the service.
template <class T>
using Ask = std::function<void(std::function<void(Outcome<T>)>)>;

/// Takes how it ended, once, on the thread of the service.
using Done = std::function<void(const std::optional<Fault>& failure)>;

/// Takes what came of a call, once.
using Reply = std::function<void(Outcome<Answer>)>;

/// An operation of a service: who may call it, and what it does.
struct Operation {
    using AtOnce = std::function<Answer(const Call&)>;
    using Later = std::function<void(const std::shared_ptr<const Call>&, const Reply&)>;

    AccessClass access;
    std::variant<AtOnce, Later> perform; ///< may throw; a Fault is told to the client as it is
};

/// The operations of a device by their names, "tds:GetUsers". Services add theirs before the first request.
class Operations {
public:
    void add(const std::string& name, AccessClass access, Operation::AtOnce perform)
    {
        _all.insert_or_assign(name, Operation{access, std::move(perform)});
    }
    void addLater(const std::string& name, AccessClass access, Operation::Later perform)
    {
        _all.insert_or_assign(name, Operation{access, std::move(perform)});
    }

    /// Null when there is none.
    const Operation* find(const std::string& name) const
    {
        const auto found = _all.find(name);
        return found == _all.end() ? nullptr : &found->second;
    }

    const std::map<std::string, Operation>& all() const { return _all; }

private:
    std::map<std::string, Operation> _all;
};

} // namespace camera::onvif
