#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace camera::onvif {

/// A SOAP fault, thrown by what cannot answer a request. The text is its Reason, for people.
class Fault : public std::runtime_error {
public:
    enum class Code { sender, receiver, versionMismatch, mustUnderstand };
    using Subcodes = std::vector<std::string>; ///< from the outer one to the inner one, "ter:InvalidArgVal"

    Fault(Code code, Subcodes subcodes, const std::string& reason)
        : std::runtime_error(reason), code(code), subcodes(std::move(subcodes))
    {
    }

    /// The client asked for what cannot be.
    static Fault sender(Subcodes subcodes, const std::string& reason)
    {
        return {Code::sender, std::move(subcodes), reason};
    }

    /// A value of the request is wrong in the way that the subcode says.
    static Fault invalid(const char* subcode, const std::string& reason)
    {
        return sender({"ter:InvalidArgVal", subcode}, reason);
    }

    /// The camera cannot do now what is asked.
    static Fault receiver(Subcodes subcodes, const std::string& reason)
    {
        return {Code::receiver, std::move(subcodes), reason};
    }

    /// For the exception that is being handled: itself, or a Receiver fault with its text.
    static Fault current()
    {
        try {
            throw;
        } catch (const Fault& fault) {
            return fault;
        } catch (const std::exception& error) {
            return receiver({"ter:Action"}, error.what());
        } catch (...) {
            return receiver({"ter:Action"}, "the camera failed");
        }
    }

    /// The status of the HTTP answer that carries it (SOAP 1.2, part 2, 7.5.2.2).
    int httpStatus() const { return code == Code::receiver ? 500 : 400; }

    Code code;
    Subcodes subcodes;
    std::string detail = {}; ///< one element with prefixes of NamespaceTable::ofMessages(); empty: none
};

} // namespace camera::onvif
