#!/usr/bin/python3
"""Prints the events of a camera as they come, until Ctrl-C.

usage: events.py ADDRESS [USER]     for example: events.py http://127.0.0.1:8080
The password is asked for, or read from the standard input. Needs python3-requests.
"""
import getpass
import sys
import xml.etree.ElementTree as ElementTree

import requests

ENV = "http://www.w3.org/2003/05/soap-envelope"
TT = "http://www.onvif.org/ver10/schema"
WSA = "http://www.w3.org/2005/08/addressing"
WSNT = "http://docs.oasis-open.org/wsn/b-2"
ENVELOPE = """<s:Envelope xmlns:s="{}" xmlns:wsnt="{}" xmlns:tev="http://www.onvif.org/ver10/events/wsdl">
 <s:Body>{}</s:Body></s:Envelope>"""
PULL = "<tev:PullMessages><tev:Timeout>PT20S</tev:Timeout><tev:MessageLimit>100</tev:MessageLimit></tev:PullMessages>"
RENEW = "<wsnt:Renew><wsnt:TerminationTime>PT1M</wsnt:TerminationTime></wsnt:Renew>"


def ask(session, address, content):
    """Sends a request and gives its answer; ends the program with the camera's own words when it refuses."""
    answer = session.post(address, ENVELOPE.format(ENV, WSNT, content).encode(), timeout=40)
    body = ElementTree.fromstring(answer.content)
    if answer.status_code != 200:
        sys.exit(body.findtext(f".//{{{ENV}}}Text"))
    return body


def values(message, part):
    return " ".join(f"{item.get('Name')}={item.get('Value')}" for item in message.iterfind(f"{{{TT}}}{part}/{{{TT}}}SimpleItem"))


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    address, user = (sys.argv[1:] + ["admin"])[:2]
    password = getpass.getpass() if sys.stdin.isatty() else sys.stdin.readline().rstrip("\n")
    session = requests.Session()
    session.auth = requests.auth.HTTPDigestAuth(user, password)
    created = ask(session, address + "/onvif/event_service", "<tev:CreatePullPointSubscription/>")
    events = created.findtext(f".//{{{WSA}}}Address")
    try:
        while True:
            for each in ask(session, events, PULL).iter(f"{{{WSNT}}}NotificationMessage"):
                message = each.find(f".//{{{TT}}}Message")
                print(message.get("UtcTime"), each.findtext(f"{{{WSNT}}}Topic"), message.get("PropertyOperation", ""),
                      values(message, "Source"), values(message, "Data"), flush=True)  # fmt: skip
            ask(session, events, RENEW)
    except KeyboardInterrupt:
        ask(session, events, "<wsnt:Unsubscribe/>")


main()
