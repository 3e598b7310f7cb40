#include "camera/pipeline/EngineDescriptions.h"

#include "camera/base/Log.h"
#include "camera/base/PluginPath.h"
#include "camera/base/Utf8.h"
#include "camera/framework/EngineFactory.h"
#include "camera/kit/DocumentNames.h"

#include <pugixml.hpp>

#include <fstream>

namespace camera::pipeline {

namespace {

using base::LogLevel;

void tell(LogLevel level, const std::string& text)
{
    base::Log::instance().write(level, "engines", text);
}

/// Whether the document begins with an EngineDescription of the virtual camera, under any prefix.
bool isDescription(const std::string& text)
{
    pugi::xml_document document;
    if (!base::isSendable(text) || !document.load_buffer(text.data(), text.size())) {
        return false;
    }
    const pugi::xml_node root = document.document_element();
    const std::string name = root.name();
    const std::size_t colon = name.find(':');
    const bool prefixed = colon != std::string::npos;
    const std::string declaration = prefixed ? "xmlns:" + name.substr(0, colon) : "xmlns";
    return name.substr(prefixed ? colon + 1 : 0) == "EngineDescription" &&
           root.attribute(declaration.c_str()).value() == std::string(kit::kOwnNamespace);
}

/// One byte more than is taken, at most.
std::string beginningOf(const std::filesystem::path& file)
{
    std::ifstream input(file, std::ios::binary);
    std::string text(kLargestDescription + 1, '\0');
    input.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(input.gcount()));
    return text;
}

std::filesystem::path fileOf(const framework::EngineRecord& engine, const std::filesystem::path& programFolder)
{
    const std::string name = engine.name() + ".onvif.xml";
    return engine.module().empty() ? base::sharedFile("engines/" + name, programFolder)
                                   : engine.module().parent_path() / name;
}

std::string descriptionOf(const framework::EngineRecord& engine, const std::filesystem::path& file)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        tell(LogLevel::info,
             "the engine '" + engine.name() + "' has no description: ONVIF clients see its types without parameters");
        return {};
    }
    std::string text = beginningOf(file);
    const std::string what = "the description '" + file.string() + "' is left out: it ";
    if (text.size() > kLargestDescription) {
        tell(LogLevel::error, what + "has more than " + std::to_string(kLargestDescription) + " bytes");
        return {};
    }
    if (!isDescription(text)) {
        tell(LogLevel::error, what + "is no XML document of UTF-8 text with the root vca:EngineDescription");
        return {};
    }
    return text;
}

} // namespace

std::vector<std::string> engineDescriptions(const framework::EngineFactory& engines,
                                            const std::filesystem::path& programFolder)
{
    std::vector<std::string> texts;
    for (const auto& engine : engines.records()) {
        texts.push_back(descriptionOf(*engine, fileOf(*engine, programFolder)));
    }
    return texts;
}

} // namespace camera::pipeline
