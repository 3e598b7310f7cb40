#include "camera/gateway/AnalyticsLink.h"

#include "camera/base/Log.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

namespace camera::gateway {

namespace {

using onvif::AnalyticsStep;
using onvif::AnalyticsView;
using onvif::Fault;
using onvif::Outcome;
using onvif::StepAnswer;
using Texts = std::vector<std::string>;

/// Several questions that are asked at once; what they say is told when all have been answered.
class Inquiry : public std::enable_shared_from_this<Inquiry> {
public:
    explicit Inquiry(std::function<void(Outcome<AnalyticsView>)> done) : _done(std::move(done)) {}

    void ask(CameraLink& link)
    {
        _open = 4;
        using Engine = sdbus::Struct<std::string, Texts, Texts, std::string>;
        put<std::vector<Engine>>(link, bus::service::kAnalytics, "engines", [](Inquiry& all, const auto& engines) {
            for (const Engine& engine : engines) {
                all._view.engines.push_back({engine.template get<0>(), engine.template get<1>(),
                                             engine.template get<2>(), engine.template get<3>()});
            }
        });
        put<Texts>(link, bus::service::kOnvifAnalyticService, "getCurrentEngines",
                   [](Inquiry& all, const Texts& modules) { all._modules = modules; });
        put<Texts>(link, bus::service::kOnvifAnalyticService, "getCurrentRules",
                   [](Inquiry& all, const Texts& rules) { all._rules = rules; });
        link.property<bool>(bus::service::kPositioning, "Available",
                            [&link, self = shared_from_this()](const Outcome<bool>& moves) {
                                self->take(moves, [&](bool available) {
                                    self->_view.moves = available;
                                    if (available) {
                                        self->askPresets(link);
                                    }
                                });
                            });
    }

private:
    void askPresets(CameraLink& link)
    {
        ++_open;
        using Preset = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
        put<std::vector<Preset>>(link, bus::service::kPositioning, "listPresets",
                                 [](Inquiry& all, const std::vector<Preset>& presets) {
                                     for (const Preset& preset : presets) {
                                         all._view.presets.push_back(preset.get<0>());
                                     }
                                 });
    }

    template <class Value, class Put>
    void put(CameraLink& link, const char* service, const char* method, Put into)
    {
        using Answer = std::tuple<Value>;
        link.call<Answer>(service, method, [self = shared_from_this(), into](const Outcome<Answer>& outcome) {
            self->take(outcome, [&](const Answer& answer) { into(*self, std::get<0>(answer)); });
        });
    }

    template <class Value, class Use>
    void take(const Outcome<Value>& outcome, const Use& use)
    {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            _failure = *fault;
        } else {
            use(std::get<Value>(outcome));
        }
        end();
    }

    void end()
    {
        if (--_open != 0) {
            return;
        }
        if (_failure) {
            _done(*_failure);
            return;
        }
        _view.components = onvif::placedComponents(_view.engines, _rules, _modules);
        _done(std::move(_view));
    }

    const std::function<void(Outcome<AnalyticsView>)> _done;
    int _open = 0;
    AnalyticsView _view;
    Texts _rules;
    Texts _modules;
    std::optional<Fault> _failure;
};

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
    actions.view = [&link](const auto& done) { std::make_shared<Inquiry>(done)->ask(link); };
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
