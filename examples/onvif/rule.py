#!/usr/bin/python3
"""Creates a motion rule at a PTZ preset of a camera, lists the rules there, and removes it at Ctrl-C.

usage: rule.py ADDRESS PRESET [USER]     for example: rule.py http://127.0.0.1:8080 Gate
The password is asked for, or read from the standard input. Needs python3-requests.
"""
import getpass
import signal
import sys
import xml.etree.ElementTree as ElementTree

import requests

TT = "http://www.onvif.org/ver10/schema"
TAN = "http://www.onvif.org/ver20/analytics/wsdl"
ENVELOPE = """<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope" xmlns:tt="{}" xmlns:tan="{}"
 xmlns:axt="http://www.onvif.org/ver20/analytics"><s:Body><tan:{}>
 <tan:ConfigurationToken>AnalyticsConfiguration_1</tan:ConfigurationToken>{}</tan:{}></s:Body></s:Envelope>"""
RULE = """<tan:Rule Name="Example" Type="tt:MotionRegionDetector"><tt:Parameters>
 <tt:SimpleItem Name="PresetToken" Value="{}"/><tt:ElementItem Name="MotionRegion">
 <axt:MotionRegionConfig Armed="true" Sensitivity="0.5"><tt:Polygon><tt:Point x="-0.5" y="0.5"/><tt:Point x="-0.5" y="-0.5"/>
 <tt:Point x="0.5" y="-0.5"/></tt:Polygon></axt:MotionRegionConfig></tt:ElementItem></tt:Parameters></tan:Rule>"""


def ask(camera, operation, content=""):
    """Sends a request and gives its answer; ends the program with the camera's own words when it refuses."""
    message = ENVELOPE.format(TT, TAN, operation, content, operation).encode()
    answer = requests.post(camera[0] + "/onvif/analytics_service", message, auth=camera[1], timeout=10)
    body = ElementTree.fromstring(answer.content)
    if answer.status_code != 200:
        sys.exit(body.findtext(".//{http://www.w3.org/2003/05/soap-envelope}Text"))
    return body


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    address, preset, user = (sys.argv[1:] + ["admin"])[:3]
    password = getpass.getpass() if sys.stdin.isatty() else sys.stdin.readline().rstrip("\n")
    camera = (address, requests.auth.HTTPDigestAuth(user, password))
    signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGINT])  # it waits until the rule can be removed
    ask(camera, "CreateRules", RULE.format(preset))
    for rule in ask(camera, "GetRules").iter(f"{{{TAN}}}Rule"):
        values = {item.get("Name"): item.get("Value") for item in rule.iter(f"{{{TT}}}SimpleItem")}
        if values.get("PresetToken", "") == preset:
            print(rule.get("Name"), rule.get("Type"), "at", preset or "no preset", flush=True)
    signal.sigwait([signal.SIGINT])
    ask(camera, "DeleteRules", "<tan:RuleName>Example</tan:RuleName>")
    print("removed Example")


main()
