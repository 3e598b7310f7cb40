#include "camera/cli/ConfigCommand.h"

#include "camera/cli/StoredDocuments.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/pipeline/CameraBuilder.h"
#include "camera/pipeline/IdleServices.h"
#include "camera/pipeline/RememberedCamera.h"
#include "camera/pipeline/RestartReport.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace camera::cli {

namespace {

std::string countOf(std::size_t count, bool rules)
{
    return std::to_string(count) + (rules ? " rule" : " module") + (count == 1 ? "" : "s");
}

/// The actions that need the analytics service. Each builds the camera, asks, and lets it go.
class Session {
public:
    Session(const ConfigOptions& options, base::Console& console) : options(options), console(console) { start(); }

    void perform()
    {
        switch (options.action) {
        case ConfigAction::set:
            return set();
        case ConfigAction::get:
            return get();
        case ConfigAction::list:
            return print(components());
        case ConfigAction::types:
            return print(options.rules ? target().supportedRules() : target().supportedEngines());
        case ConfigAction::add:
        case ConfigAction::modify:
            return store();
        case ConfigAction::remove:
            return remove();
        case ConfigAction::reset:
            target().restoreDefaultSettings();
            console.line("Nothing is configured now.");
            return compareWithRestart();
        case ConfigAction::history:
        case ConfigAction::restore:
            break;
        }
        throw std::logic_error("this action needs no camera");
    }

private:
    void start()
    {
        pipeline::loadEngineModules(options.camera, console);
        pipeline::Options wanted = pipeline::deviceOptions(options.camera, options.camera.stateDir);
        wanted.services = std::make_shared<pipeline::IdleServices>();
        device = pipeline::buildCamera(wanted, console);
    }

    pipeline::TargetClient& target() { return device->target(); }

    std::vector<std::string> components()
    {
        return options.rules ? target().currentRules() : target().currentEngines();
    }

    void print(const std::vector<std::string>& lines)
    {
        for (const std::string& line : lines) {
            console.line(line);
        }
    }

    void set()
    {
        std::vector<std::string> documents;
        for (const std::string& path : options.arguments) {
            documents.push_back(onvif::readConfiguration(path));
        }
        for (std::size_t i = 0; i < documents.size(); ++i) {
            const bool active = pipeline::configure(*device, documents[i], options.arguments[i]);
            console.line(
                "'" + options.arguments[i] +
                (active ? "' is stored and active." : "' is stored; it is not active where the camera stands now."));
        }
        compareWithRestart();
    }

    void get()
    {
        const std::string& preset = options.camera.preset;
        console.line(preset.empty() ? target().currentConfiguration() : target().presetConfiguration(preset));
    }

    // What the service answered, kept until the difference that a restart makes is told.
    void check(const pipeline::Answer& answer, const std::string& what, const std::string& advice)
    {
        if (!answer.ok()) {
            failure = what + ": " + pipeline::describe(answer.outcome) + "; " + advice + ".";
        }
    }

    void store()
    {
        std::vector<std::string> items;
        for (const std::string& path : options.arguments) {
            const std::vector<std::string> found = onvif::readComponents(path, options.rules);
            items.insert(items.end(), found.begin(), found.end());
        }
        const bool modify = options.action == ConfigAction::modify;
        pipeline::Answer answer;
        if (options.rules) {
            answer = modify ? target().modifyRules(items) : target().createRules(items);
        } else {
            answer = modify ? target().modifyEngines(items) : target().createEngines(items);
        }
        check(answer, "cannot store " + countOf(items.size(), options.rules), "the log lines above name the reason");
        if (answer.ok()) {
            console.line(countOf(items.size(), options.rules) + " stored.");
        }
        compareWithRestart();
    }

    void remove()
    {
        const pipeline::Answer answer =
            options.rules ? target().deleteRules(options.arguments) : target().deleteEngines(options.arguments);
        check(answer, "cannot delete " + countOf(options.arguments.size(), options.rules),
              std::string("camera config ") + (options.rules ? "rules" : "modules") + " lists the names");
        if (answer.ok()) {
            console.line(countOf(options.arguments.size(), options.rules) + " deleted.");
        }
        compareWithRestart();
    }

    // What is stored and what is live part ways in several cases, and this program's end is a restart: so it
    // starts the camera once more and reports what it finds, instead of knowing the cases.
    void compareWithRestart()
    {
        const std::vector<onvif::ComponentName> now = pipeline::liveComponents(*device);
        device.reset();
        start();
        print(pipeline::restartDifferences(now, pipeline::liveComponents(*device)));
        if (!failure.empty()) {
            throw std::runtime_error(failure);
        }
    }

    const ConfigOptions& options;
    base::Console& console;
    std::unique_ptr<pipeline::Device> device;
    std::string failure;
};

} // namespace

int configureCamera(const ConfigOptions& options, base::Console& console)
{
    try {
        if (options.action == ConfigAction::history) {
            printHistory(options.camera.stateDir, console);
        } else if (options.action == ConfigAction::restore) {
            restoreDocument(options.camera.stateDir, options.sequence, console);
        } else {
            Session(options, console).perform();
        }
        return 0;
    } catch (const std::exception& error) {
        console.error(error.what());
        return 1;
    }
}

} // namespace camera::cli
