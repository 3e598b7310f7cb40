"""Serves a test picture over RTSP at /test until it is killed.

usage: rtsp_server.py PORT       PORT 0: any; the port is printed first
       rtsp_server.py --check    exit code 0 where this can run
"""
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer  # noqa: E402  (after the versions)

Gst.init(None)
if sys.argv[1] == "--check":
    sys.exit(0 if Gst.ElementFactory.find("rtpvp8pay") and Gst.ElementFactory.find("vp8enc") else 1)
server = GstRtspServer.RTSPServer(address="127.0.0.1", service=sys.argv[1])
factory = GstRtspServer.RTSPMediaFactory(shared=True)
factory.set_launch("( videotestsrc is-live=true ! video/x-raw,width=160,height=96,framerate=25/1 "
                   "! vp8enc deadline=1 keyframe-max-dist=25 ! rtpvp8pay name=pay0 )")
server.get_mount_points().add_factory("/test", factory)
server.attach(None)
print(server.get_bound_port(), flush=True)
GLib.MainLoop().run()
