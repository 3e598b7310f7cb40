#pragma once

#include "kit/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kit {

/// The ONVIF schemas as libxml2 takes them, made from a copy: the originals stay as they are.
class OnvifSchemas {
public:
    /// @param originals  the folder that has them, unless the environment's ONVIF_DIR names another.
    explicit OnvifSchemas(const std::string& originals)
    {
        const char* const given = std::getenv("ONVIF_DIR");
        const std::string from = given != nullptr ? given : originals;
        if (!std::filesystem::exists(from + "/make_libxml2_overlay.py")) {
            _missing = "no ONVIF schemas in " + from;
        } else if (!run("command -v xmllint") || !run("/usr/bin/python3 -c 'import lxml'")) {
            _missing = "checking against schemas needs xmllint and python3-lxml";
        } else {
            std::filesystem::copy(from, path(), std::filesystem::copy_options::recursive);
            if (!run(inFolder("/usr/bin/python3 make_libxml2_overlay.py"))) {
                throw std::runtime_error("the schemas cannot be made: " + contentOf(path() + "/said"));
            }
        }
    }

    /// What a test that needs them has to say when it is skipped; nothing when all is there.
    const std::optional<std::string>& missing() const { return _missing; }

    /// The folder of the copy.
    std::string path() const { return _folder.path() / "schemas"; }

    /// What is wrong with the documents; empty when all are valid. @param schema  "tt-all.xsd" or "soap-all.xsd"
    std::string faultsOf(const std::string& schema, const std::vector<std::string>& documents) const
    {
        std::string command = "xmllint --nonet --noout --schema xsd-libxml2/" + schema;
        for (std::size_t i = 0; i < documents.size(); ++i) {
            const std::string name = std::to_string(i) + ".xml";
            _folder.write("schemas/" + name, documents[i]);
            command += " " + name;
        }
        if (run(inFolder(command))) {
            return "";
        }
        std::string faults;
        for (const std::string& line : linesOf(path() + "/said")) {
            faults += line.find("error") != std::string::npos ? line + "\n" : "";
        }
        return faults.empty() ? "xmllint failed" : faults;
    }

private:
    std::string inFolder(const std::string& command) const
    {
        return "cd " + path() + " && XML_CATALOG_FILES=" + path() + "/wsdl/catalog.xml " + command + " >said 2>&1";
    }

    static bool run(const std::string& command)
    {
        return std::system(("(" + command + ") >/dev/null 2>&1").c_str()) == 0;
    }

    TemporaryFolder _folder;
    std::optional<std::string> _missing;
};

} // namespace kit
