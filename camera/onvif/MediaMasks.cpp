#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/MediaService.h"
#include "camera/onvif/Requests.h"

#include <cmath>

// Window blanking as the one mask that there is: it covers the whole picture, can be switched and coloured, and can
// neither be made nor deleted.

namespace camera::onvif {

namespace {

constexpr const char* kMask = "Mask_1";
constexpr const char* kColours = "http://www.onvif.org/ver10/colorspace/RGB";

void checkMask(const std::string& token)
{
    if (token != kMask) {
        throw Fault::invalid("ter:NoConfig", "there is no mask '" + token + "'");
    }
}

void checkSource(const std::string& token)
{
    existingConfigurations(MediaKind::videoSource, token, true);
}

void putMask(pugi::xml_node parent, const Blanking& blanking)
{
    pugi::xml_node mask = parent.append_child("tr2:Masks");
    putAttribute(mask, "token", kMask);
    put(mask, "tr2:ConfigurationToken", kVideoSource);
    pugi::xml_node polygon = mask.append_child("tr2:Polygon");
    for (const auto& [x, y] : {std::pair(-1, 1), std::pair(1, 1), std::pair(1, -1), std::pair(-1, -1)}) {
        pugi::xml_node point = polygon.append_child("tt:Point");
        point.append_attribute("x").set_value(x);
        point.append_attribute("y").set_value(y);
    }
    put(mask, "tr2:Type", "Color");
    pugi::xml_node colour = mask.append_child("tr2:Color");
    colour.append_attribute("X").set_value(static_cast<int>(blanking.red));
    colour.append_attribute("Y").set_value(static_cast<int>(blanking.green));
    colour.append_attribute("Z").set_value(static_cast<int>(blanking.blue));
    putAttribute(colour, "Colorspace", kColours);
    put(mask, "tr2:Enabled", blanking.on);
}

std::uint8_t componentOf(const pugi::xml_node& colour, const char* name)
{
    const double value = numberIn(name, colour.attribute(name).value());
    if (value < 0 || value > 255) {
        throw Fault::invalid("ter:ConfigModify", "a part of a colour is 0 to 255");
    }
    return static_cast<std::uint8_t>(std::lround(value));
}

/// What a client sets; what it leaves out stays.
Blanking maskOf(const pugi::xml_node& mask, Blanking blanking)
{
    blanking.on = requiredBool(mask, "tr2:Enabled");
    if (const pugi::xml_node colour = mask.child("tr2:Color")) {
        if (std::string(colour.attribute("Colorspace").value()) != kColours) {
            throw Fault::invalid("ter:ConfigModify", "the colour of a mask is RGB");
        }
        blanking.red = componentOf(colour, "X");
        blanking.green = componentOf(colour, "Y");
        blanking.blue = componentOf(colour, "Z");
    }
    return blanking;
}

Answer maskOptions(const Call& call)
{
    checkSource(requiredText(call.request(), "tr2:ConfigurationToken"));
    Answer answer = call.answer();
    pugi::xml_node options = answer.body().append_child("tr2:Options");
    putAttribute(options, "RectangleOnly", true);
    putAttribute(options, "SingleColorOnly", true);
    put(options, "tr2:MaxMasks", 1);
    put(options, "tr2:MaxPoints", 4);
    put(options, "tr2:Types", "Color");
    pugi::xml_node colours = options.append_child("tr2:Color").append_child("tt:ColorspaceRange");
    for (const char* const name : {"tt:X", "tt:Y", "tt:Z"}) {
        pugi::xml_node range = colours.append_child(name);
        put(range, "tt:Min", 0);
        put(range, "tt:Max", 255);
    }
    put(colours, "tt:Colorspace", kColours);
    return answer;
}

} // namespace

void MediaService::addMasks(Operations& operations)
{
    operations.addLater("tr2:GetMasks", AccessClass::readMedia, [this](const Shared& call, const Reply& reply) {
        checkMask(optionalText(call->request(), "tr2:Token").value_or(kMask));
        checkSource(optionalText(call->request(), "tr2:ConfigurationToken").value_or(kVideoSource));
        askAndAnswer(_actions.blanking, reply, [call](const Blanking& blanking) {
            Answer answer = call->answer();
            putMask(answer.body(), blanking);
            return answer;
        });
    });
    operations.add("tr2:GetMaskOptions", AccessClass::readMedia, maskOptions);
    operations.addLater("tr2:SetMask", AccessClass::actuate, [this](const Shared& call, const Reply& reply) {
        checkMask(call->request().child("tr2:Mask").attribute("token").value());
        _actions.blanking([this, call, reply](const Outcome<Blanking>& outcome) {
            try {
                if (const auto* const fault = std::get_if<Fault>(&outcome)) {
                    throw Fault(*fault);
                }
                const Blanking wanted = maskOf(call->request().child("tr2:Mask"), std::get<Blanking>(outcome));
                _actions.setBlanking(wanted, answerWhenDone(call, reply));
            } catch (const Fault& fault) {
                reply(fault);
            }
        });
    });
    operations.add("tr2:CreateMask", AccessClass::actuate, [](const Call& call) -> Answer {
        checkSource(requiredText(call.request().child("tr2:Mask"), "tr2:ConfigurationToken"));
        throw Fault::receiver({"ter:Action", "ter:MaxMasks"}, "there is one mask; no more fit");
    });
    operations.add("tr2:DeleteMask", AccessClass::actuate, [](const Call& call) -> Answer {
        checkMask(requiredText(call.request(), "tr2:Token"));
        throw Fault::sender({"ter:OperationProhibited"}, "the mask can be switched off, but not deleted");
    });
}

} // namespace camera::onvif
