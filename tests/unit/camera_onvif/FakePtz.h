#pragma once

#include "camera/onvif/PtzView.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace camera::onvif {

/// A camera that arrives at once where it is sent, and writes down what it was asked to do.
class FakePtz {
public:
    FakePtz()
    {
        view.widthDegrees = 60;
        view.heightDegrees = 30;
        view.presets = {{"Gate", {90, 0, 1}}};
        view.mostPresets = 4;
        view.mostTours = 3;
        view.mostStops = 2;
    }

    PtzActions actions()
    {
        PtzActions all;
        all.moves = [this] { return moves; };
        all.view = [this](const auto& done) {
            if (silence) {
                done(*silence);
            } else {
                done(view);
            }
        };
        all.moveTo = [this](const PtzPlace& place, int speed, const Done& done) {
            std::ostringstream text;
            text << "move " << place.pan << ' ' << place.tilt << ' ' << place.zoom << " at " << speed;
            perform(text.str(), done, [&] { view.place = place; });
        };
        all.drive = [this](const PtzDrive& drive, const Done& done) {
            perform("drive " + textOf(drive.pan) + " " + textOf(drive.tilt) + " " + textOf(drive.zoom) + " for " +
                        std::to_string(drive.duration.count()),
                    done, [] {});
        };
        all.goToPreset = [this](const std::string& preset, int speed, const Done& done) {
            perform("go to " + preset + " at " + std::to_string(speed), done, [] {});
        };
        all.savePreset = [this](const std::string& preset, const Done& done) {
            perform("save " + preset, done, [&] {
                removeNamed(view.presets, preset);
                view.presets.push_back({preset, view.place});
            });
        };
        all.removePreset = [this](const std::string& preset, const Done& done) {
            perform("remove " + preset, done, [&] { removeNamed(view.presets, preset); });
        };
        addTours(all);
        return all;
    }

    PtzView view;
    bool moves = true;
    std::optional<Fault> silence; ///< why nothing can be asked
    std::optional<Fault> refusal; ///< why nothing is done
    bool waits = false;           ///< nothing is answered before answerAll()
    std::vector<std::string> asked;

    void answerAll()
    {
        for (const Done& done : std::exchange(_waiting, {})) {
            done(std::nullopt);
        }
    }

private:
    void addTours(PtzActions& all)
    {
        all.setTour = [this](const PtzTour& tour, const Done& done) {
            std::string text = "tour " + tour.token;
            for (const PtzStop& stop : tour.stops) {
                text += " " + stop.preset + ":" + std::to_string(stop.stay.count()) + ":" +
                        std::to_string(stop.speedPercent);
            }
            perform(text, done, [&] {
                removeNamed(view.tours, tour.token);
                view.tours.push_back(tour);
            });
        };
        all.removeTour = [this](const std::string& tour, const Done& done) {
            perform("remove tour " + tour, done, [&] { removeNamed(view.tours, tour); });
        };
        all.startTour = [this](const std::string& tour, const Done& done) {
            perform("start " + tour, done, [&] { view.runningTour = tour; });
        };
        all.stopTour = [this](const Done& done) {
            perform("stop tour", done, [this] {
                view.runningTour.clear();
                view.paused = false;
            });
        };
        all.pauseTour = [this](const Done& done) { perform("pause", done, [this] { view.paused = true; }); };
        all.resumeTour = [this](const Done& done) { perform("resume", done, [this] { view.paused = false; }); };
    }

    template <class Change>
    void perform(const std::string& what, const Done& done, const Change& change)
    {
        asked.push_back(what);
        if (waits) {
            _waiting.push_back(done);
            return;
        }
        if (!refusal) {
            change();
        }
        done(refusal);
    }

    template <class List>
    static void removeNamed(List& list, const std::string& token)
    {
        list.erase(std::remove_if(list.begin(), list.end(), [&token](const auto& each) { return each.token == token; }),
                   list.end());
    }

    static std::string textOf(const std::optional<int>& percent) { return percent ? std::to_string(*percent) : "-"; }

    std::vector<Done> _waiting;
};

} // namespace camera::onvif
