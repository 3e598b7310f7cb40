#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace camera::gateway {

/// Checks messages against the ONVIF schemas. Thread-bound.
class AnswerCheck {
public:
    /// @param folder  has the schemas as libxml2 takes them, xsd-libxml2/soap-all.xsd, and their catalogue,
    ///                wsdl/catalog.xml. Nothing is fetched from a network.
    /// @throws std::runtime_error with one sentence.
    explicit AnswerCheck(const std::filesystem::path& folder);
    ~AnswerCheck();
    AnswerCheck(const AnswerCheck&) = delete;
    AnswerCheck& operator=(const AnswerCheck&) = delete;

    /// What is wrong with a message; empty when it is valid.
    std::string faultsOf(const std::string& message) const;

private:
    class Schema;
    const std::unique_ptr<Schema> _schema;
};

} // namespace camera::gateway
