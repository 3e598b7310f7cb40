// One accepted configuration through the served target, beside the passes over the same text that it
// cannot do without.

#include "bench/plugin/BenchHost.h"
#include "bench/plugin/Documents.h"
#include "bench/plugin/Rows.h"

#include "target/ConfigurationXml.h"
#include "json/Array.h"
#include "json/Object.h"
#include "json/UnknownElement.h"
#include "json/Writer.h"

#include <map>
#include <stdexcept>

namespace bench {

namespace {

constexpr char kPresetItems[] = "//*[local-name()='SimpleItem' and @Name='PtzPreset']";

struct Case {
    std::string text;
    std::map<std::string, std::string> stored; ///< all keys, the accepted one among them
};

Case makeCase(std::size_t size, int keys, bool active)
{
    Case made;
    made.text = configuration(size, active ? kCurrentPreset : "P0");
    pugi::xml_document document;
    for (int i = 1; i < keys; ++i) {
        document.load_string(configuration(size, "P" + std::to_string(i)).c_str());
        made.stored["StubP" + std::to_string(i)] = korva::meridan::printRaw(document);
    }
    document.load_string(made.text.c_str());
    made.stored[active ? std::string("Stub") + kCurrentPreset : "StubP0"] = korva::meridan::printRaw(document);
    return made;
}

json::Array toArray(const std::map<std::string, std::string>& stored)
{
    json::Array array;
    for (const auto& entry : stored) {
        json::Object object;
        object.Append("key", entry.first);
        object.Append("config", entry.second);
        array.Append(std::move(object));
    }
    return array;
}

void needPasses(const std::string& text, const json::Array& stored, bool active)
{
    pugi::xml_document keyed;
    keyed.load_string(text.c_str());
    keep(keyed.select_nodes(kPresetItems).size());

    pugi::xml_document printed;
    printed.load_string(text.c_str());
    keep(korva::meridan::printRaw(printed, text.size()).size());

    storedDocument() = json::Writer::Write(stored);
    if (active) {
        pugi::xml_document logged;
        logged.load_string(text.c_str());
        keep(logged.select_nodes("//tt:Rule").size());
        keep(logged.select_nodes("//*[local-name() = 'SimpleItem']").size());
    }
}

void compareOne(const Pairs& pairs, const std::string& title, const Case& given, bool active)
{
    const json::Array array = toArray(given.stored);
    storedDocument() = json::Writer::Write(array);
    const auto plugin = buildPlugin();
    RavelApiAnalyticsTargetImplBase& target = servedTarget();
    const auto accept = [&] {
        unsigned char failed = 1;
        target.setConfiguration(given.text.c_str(), &failed);
        if (failed != 0) {
            throw std::runtime_error(title + ": refused");
        }
    };
    pairs.compare(title, timed(accept), "the passes it needs", timed([&] { needPasses(given.text, array, active); }),
                  atMost(1.3));
    target.restoreDefaultSettings();
}

} // namespace

void compareIntake(const Pairs& pairs)
{
    for (const auto& [size, name] :
         {std::pair<std::size_t, std::string>{2 << 10, "2 KB"}, {50 << 10, "50 KB"}, {1 << 20, "1 MB"}}) {
        for (const int keys : {1, 100}) {
            for (const bool active : {false, true}) {
                const std::string stored = std::to_string(keys) + (keys == 1 ? " stored key, " : " stored keys, ");
                compareOne(pairs,
                           "accepted configuration, " + name + ", " + stored +
                               (active ? "active" : "for another preset"),
                           makeCase(size, keys, active), active);
            }
        }
    }
}

} // namespace bench
