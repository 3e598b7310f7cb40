"""The camera as zeep sees it, over the official service descriptions, without a network."""
import pathlib
import os
import re

import kit

try:
    import requests
    import zeep
    import zeep.exceptions
    import zeep.transports
    import zeep.wsse.username
    from lxml import etree
except ImportError as missing:
    kit.skip(f"the Python packages of this client are not installed: {missing}")

WSDL = pathlib.Path(os.environ["ONVIF_SCHEMAS"]) / "wsdl"
if not WSDL.is_dir():
    kit.skip(f"no ONVIF service descriptions in {WSDL}")

# Name, description, binding, path on the camera.
SERVICES = {
    "device": ("ver10/device/wsdl/devicemgmt.wsdl", "{http://www.onvif.org/ver10/device/wsdl}DeviceBinding", "device"),
    "media": ("ver10/media/wsdl/media.wsdl", "{http://www.onvif.org/ver10/media/wsdl}MediaBinding", "media"),
    "media2": ("ver20/media/wsdl/media.wsdl", "{http://www.onvif.org/ver20/media/wsdl}Media2Binding", "media2"),
    "rules": ("ver20/analytics/wsdl/analytics.wsdl", f"{{{kit.TAN}}}RuleEngineBinding", "analytics"),
    "modules": ("ver20/analytics/wsdl/analytics.wsdl", f"{{{kit.TAN}}}AnalyticsEngineBinding", "analytics"),
    "imaging": ("ver20/imaging/wsdl/imaging.wsdl", "{http://www.onvif.org/ver20/imaging/wsdl}ImagingBinding", "imaging"),
    "ptz": ("ver20/ptz/wsdl/ptz.wsdl", "{http://www.onvif.org/ver20/ptz/wsdl}PTZBinding", "ptz"),
    "deviceio": ("ver10/deviceio.wsdl", "{http://www.onvif.org/ver10/deviceIO/wsdl}DeviceIOBinding", "deviceio"),
    "events": ("ver10/events/wsdl/event.wsdl", f"{{{kit.TEV}}}EventBinding", "event"),
    "producer": ("ver10/events/wsdl/event.wsdl", f"{{{kit.TEV}}}NotificationProducerBinding", "event"),
    # Of a subscription, whose address the camera tells.
    "pullpoint": ("ver10/events/wsdl/event.wsdl", f"{{{kit.TEV}}}PullPointSubscriptionBinding", None),
    "manager": ("ver10/events/wsdl/event.wsdl", f"{{{kit.TEV}}}SubscriptionManagerBinding", None),
}


class OfflineTransport(zeep.transports.Transport):
    def load(self, url):
        place = re.sub("^https?://", "", url)
        inside = re.sub(r"^www\.onvif\.org/(onvif/)?", "", place)
        return (WSDL / ("external/" + place if inside == place else inside)).read_bytes()


DESCRIPTIONS = {}  # what was read already


class Zeep:
    """Services of a camera by their names: Zeep(address, ...).rules.GetRules(...).

    @param auth  of requests, for HTTP digest. @param token  a header of zeep, for a UsernameToken.
    """

    def __init__(self, address, auth=None, token=None):
        self.address = address
        self.transport = OfflineTransport(timeout=kit.PATIENCE, operation_timeout=kit.PATIENCE)
        self.transport.session.auth = auth
        self.transport.session.headers["Connection"] = "close"  # the camera lets each address have a few only
        self.token = token

    def __getattr__(self, name):
        service = self.at(name, f"{self.address}/onvif/{SERVICES[name][2]}_service")
        setattr(self, name, service)
        return service

    def at(self, name, address):
        """The service at an address."""
        wsdl, binding, _ = SERVICES[name]
        client = zeep.Client(DESCRIPTIONS.get(wsdl, "http://www.onvif.org/" + wsdl), transport=self.transport, wsse=self.token)
        DESCRIPTIONS[wsdl] = client.wsdl
        client.set_ns_prefix("tt", kit.TT)
        client.set_ns_prefix("vca", kit.VCA)
        return client.create_service(binding, address)


def with_token(address, who):
    return Zeep(address, token=zeep.wsse.username.UsernameToken(who[0], who[1], use_digest=True))


def with_digest(address, who):
    return Zeep(address, auth=requests.auth.HTTPDigestAuth(*who))


def subcodes(fault):
    """The subcodes of a zeep fault, from the outer one to the inner one, without prefixes."""
    return [code.localname if isinstance(code, etree.QName) else str(code).split(":")[-1] for code in fault.subcodes or []]


def config(name, kind, items=(), elements=()):
    """A rule or a module as zeep sends it. @param items  (name, value). @param elements  (name, XML text)."""
    return {
        "Name": name,
        "Type": kind,
        "Parameters": {
            "SimpleItem": [{"Name": item, "Value": value} for item, value in items],
            "ElementItem": [{"Name": item, "_value_1": etree.fromstring(text)} for item, text in elements],
        },
    }


def items_of(component):
    """Parameters of a rule or module as zeep gives them: names and texts, an element as canonical XML."""
    parameters = component.Parameters
    found = [(item.Name, item.Value) for item in parameters.SimpleItem]
    for item in parameters.ElementItem:
        found.append((item.Name, etree.tostring(item._value_1, method="c14n", exclusive=True).decode()))
    return sorted(found)


def stored(configuration):
    """Rules and modules of a video analytics configuration; zeep gives nothing for an element that is empty."""
    rules, modules = configuration.RuleEngineConfiguration, configuration.AnalyticsEngineConfiguration
    return {"rules": rules.Rule if rules else [], "modules": modules.AnalyticsModule if modules else []}
