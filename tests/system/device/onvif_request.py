"""Sends one request of the ONVIF device service, with HTTP digest authentication, and prints the answer.

usage: onvif_request.py ADDRESS USER PASSWORD OPERATION [CONTENT]
"""
import sys
import urllib.error
import urllib.request

address, user, password, operation, content = [*sys.argv[1:], ""][:5]
passwords = urllib.request.HTTPPasswordMgrWithDefaultRealm()
passwords.add_password(None, address, user, password)
opener = urllib.request.build_opener(urllib.request.ProxyHandler({}), urllib.request.HTTPDigestAuthHandler(passwords))
envelope = f"""<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope"><s:Body>
<{operation} xmlns="http://www.onvif.org/ver10/device/wsdl">{content}</{operation}></s:Body></s:Envelope>"""
try:
    print(opener.open(address, envelope.encode(), timeout=30).read().decode())
except (urllib.error.URLError, ConnectionError) as error:
    sys.exit(f"{operation}: {error}")
