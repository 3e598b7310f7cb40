// What anybody who looks at the bus is told about the pipeline process.
#include "unit/camera_pipeline/ServedDevice.h"

#include <pugixml.hpp>

namespace pipeline_test {
namespace {

using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

/// Each method and signal of an interface with its parameters: "moveTo(upan,itilt)->()".
Texts described(const std::string& introspection, const std::string& interface)
{
    pugi::xml_document document;
    document.load_string(introspection.c_str());
    Texts result;
    for (const pugi::xml_node& node : document.child("node").children("interface")) {
        if (node.attribute("name").value() != interface) {
            continue;
        }
        for (const pugi::xml_node& member : node.children()) {
            std::string in;
            std::string out;
            for (const pugi::xml_node& parameter : member.children("arg")) {
                const bool comesBack = std::string(parameter.attribute("direction").value()) == "out";
                std::string& list = comesBack ? out : in;
                list += std::string(list.empty() ? "" : ", ") + parameter.attribute("type").value() + " " +
                        parameter.attribute("name").value();
            }
            const bool signal = std::string(member.name()) == "signal";
            result.push_back(std::string(signal ? "signal " : "") + member.attribute("name").value() + "(" + in + ")" +
                             (signal ? "" : "->(" + out + ")"));
        }
    }
    return result;
}

class IntrospectionTest : public ServedDevice {
protected:
    void SetUp() override
    {
        ServedDevice::SetUp();
        serve();
    }

    Texts of(const char* name) { return described(client.introspection(name), camera::bus::interfaceName(name)); }
};

TEST_F(IntrospectionTest, namesEveryParameterOfTheAnalyticsTarget)
{
    EXPECT_THAT(of(service::kAnalytics),
                UnorderedElementsAre(
                    "getEventTopics()->(as topics)", "getSupportedRules()->(as types)", "getCurrentRules()->(as rules)",
                    "createRules(as rules)->(i result, u status)", "modifyRules(as rules)->(i result, u status)",
                    "deleteRules(as names)->(i result, u status)", "getSupportedEngines()->(as types)",
                    "getCurrentEngines()->(as engines)", "createEngines(as engines)->(i result, u status)",
                    "modifyEngines(as engines)->(i result, u status)", "deleteEngines(as names)->(i result, u status)",
                    "getCurrentConfiguration()->(s xml)", "setConfiguration(s xml)->(i result, y failed)",
                    "restoreDefaultSettings()->(i result)", "getUsedPtzPresets()->(as presets)",
                    "readFramesFromFile(s engine, s path, b flag)->(i result)",
                    "writeFramesToFile(s engine, s path, u count)->(i result)",
                    "getPtzPresetConfiguration(s preset)->(s xml)",
                    "signal analyticsEvent(s topic, s source, s data)"));
}

TEST_F(IntrospectionTest, namesEveryParameterOfPositioning)
{
    const Texts expected{
        "getPosition()->(u pan, i tilt, u zoom, u angleOfView, b moving, s activePreset)",
        "listPresets()->(a(suiu) presets)",
        "savePreset(s name)->()",
        "savePresetAt(s name, u pan, i tilt, u zoom)->()",
        "renamePreset(s name, s newName)->()",
        "removePreset(s name)->()",
        "goToPreset(s name, u priority)->()",
        "moveTo(u pan, i tilt, u zoom, u priority)->()",
        "drive(i pan, i tilt, i zoom, u milliseconds, u priority)->()",
        "stop(u priority)->()",
        "listTours()->(a(sa(suu)) tours)",
        "createTour(s name, a(suu) stops)->()",
        "removeTour(s name)->()",
        "startTour(s name, u priority)->()",
        "stopTour()->()",
        "pauseTour()->()",
        "resumeTour()->()",
        "signal motionState(b moving, u pan, i tilt, u zoom)",
        "signal commandPriority(b panTiltHeld, b zoomHeld, u priority)",
        "signal presetState(i state, s preset, b byTour, s user)",
        "signal presetModified(s preset, b created, b changed, b removed)",
        "signal tourState(i state, s tour, u stop, i stopType)",
    };
    EXPECT_THAT(of(service::kPositioning), UnorderedElementsAreArray(expected));
}

TEST_F(IntrospectionTest, namesEveryParameterOfThePipelineItself)
{
    EXPECT_THAT(of(service::kPipeline),
                UnorderedElementsAre("status()->(s json)", "storedKeys()->(as keys)",
                                     "history(s key)->(a(xxtb) versions)", "document(s key, x sequence)->(s text)",
                                     "restore(s key, x sequence)->()"));
}

} // namespace
} // namespace pipeline_test
