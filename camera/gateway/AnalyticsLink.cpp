#include "camera/gateway/AnalyticsLink.h"

#include "camera/base/Log.h"
#include "camera/gateway/Inquiry.h"

#include <cstdint>
#include <utility>

namespace camera::gateway {

namespace {

using onvif::AnalyticsStep;
using onvif::AnalyticsView;
using onvif::Fault;
using onvif::Outcome;
using onvif::StepAnswer;
using Texts = std::vector<std::string>;

/// What is asked for, and what the rest of it is made of.
struct Asked {
    AnalyticsView view;
    Texts rules;
    Texts modules;
};

void askPresetNames(Inquiry<Asked>& inquiry)
{
    using Preset = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
    using Presets = std::vector<Preset>;
    inquiry.call<Presets>(bus::service::kPositioning, "listPresets", [](Asked& asked, const Presets& presets) {
        for (const Preset& preset : presets) {
            asked.view.presets.push_back(preset.get<0>());
        }
    });
}

void askAllAnalytics(Inquiry<Asked>& inquiry)
{
    using Engine = sdbus::Struct<std::string, Texts, Texts, std::string>;
    using Engines = std::vector<Engine>;
    inquiry.call<Engines>(bus::service::kAnalytics, "engines", [](Asked& asked, const Engines& engines) {
        for (const Engine& engine : engines) {
            asked.view.engines.push_back({engine.get<0>(), engine.get<1>(), engine.get<2>(), engine.get<3>()});
        }
    });
    inquiry.call<Texts>(bus::service::kOnvifAnalyticService, "getCurrentEngines",
                        [](Asked& asked, const Texts& modules) { asked.modules = modules; });
    inquiry.call<Texts>(bus::service::kOnvifAnalyticService, "getCurrentRules",
                        [](Asked& asked, const Texts& rules) { asked.rules = rules; });
    inquiry.property<bool>(bus::service::kPositioning, "Available", [&inquiry](Asked& asked, bool available) {
        asked.view.moves = available;
        if (available) {
            askPresetNames(inquiry);
        }
    });
}

void askAnalytics(CameraLink& link, const std::function<void(Outcome<AnalyticsView>)>& done)
{
    const auto tell = [done](Outcome<Asked> outcome) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            done(*fault);
            return;
        }
        auto& asked = std::get<Asked>(outcome);
        asked.view.components = onvif::placedComponents(asked.view.engines, asked.rules, asked.modules);
        done(std::move(asked.view));
    };
    Inquiry<Asked>::begin(link, tell, askAllAnalytics);
}

/// Calls a method that answers with two numbers, which are 0 when it has done what was asked, and with reasons.
template <class Status, class In>
void change(CameraLink& link, const char* method, const In& argument,
            const std::function<void(const Outcome<StepAnswer>&)>& done)
{
    using Answer = std::tuple<std::int32_t, Status, Texts>;
    const auto answered = [done](const Outcome<Answer>& outcome) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            done(*fault);
            return;
        }
        const auto& [result, status, reasons] = std::get<Answer>(outcome);
        done(StepAnswer{result == 0 && status == 0, reasons});
    };
    link.call<Answer>(bus::service::kAnalytics, method, answered, argument);
}

} // namespace

onvif::AnalyticsActions analyticsActions(CameraLink& link)
{
    onvif::AnalyticsActions actions;
    actions.view = [&link](const auto& done) { askAnalytics(link, done); };
    actions.perform = [&link](const AnalyticsStep& step, const auto& done) {
        if (step.document.empty()) {
            change<std::uint32_t>(link, "deleteRules", step.names, done);
        } else {
            change<std::uint8_t>(link, "setConfiguration", step.document, done);
        }
    };
    actions.log = [](const std::string& line) {
        base::Log::instance().write(base::LogLevel::error, "camera-gateway", line);
    };
    return actions;
}

} // namespace camera::gateway
