#!/usr/bin/python3
"""The login manager and systemd on the system bus, as far as the device's commands need them.

Prints "ready" when both are there, then every call with its arguments. What a method answers can be changed through the
interface org.freedesktop.DBus.Mock of either object.
"""

import os

import dbus
import dbus.bus
import dbus.lowlevel
import dbus.mainloop.glib
import dbusmock.mockobject
from gi.repository import GLib

LOGIN = "org.freedesktop.login1"
SYSTEMD = "org.freedesktop.systemd1"
UNIT = "/unit"


def claim_done():
    """A process other than systemd signals the end of the job to every connection on the bus directly."""
    bus = dbus.bus.BusConnection(os.environ["DBUS_SYSTEM_BUS_ADDRESS"])
    for name in bus.list_names():
        claim = dbus.lowlevel.SignalMessage("/org/freedesktop/systemd1", SYSTEMD + ".Manager", "JobRemoved")
        claim.append(7, "/job/7", "x", "done", signature="uoss")
        claim.set_destination(name)
        bus.send_message(claim)
    # Answered when the bus has passed the claims on.
    bus.list_names()
    bus.close()


def end_job(systemd, result):
    """Is called by StartUnit, ends the job once that has been answered."""

    def tell():
        claim_done()
        systemd.EmitSignal("", "JobRemoved", "uoss", [8, "/job/8", "x", "failed"])
        systemd.EmitSignal("", "JobRemoved", "uoss", [7, "/job/7", "x", result])

    claim_done()
    GLib.idle_add(tell)


def set_unit(active, sub, result):
    """How the unit is from now on."""
    unit = dbusmock.mockobject.objects[UNIT]
    unit.props[SYSTEMD + ".Unit"] = {"ActiveState": active, "SubState": sub}
    unit.props[SYSTEMD + ".Service"] = {"Result": result}


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    dbusmock.mockobject.DBusMockObject.log = lambda _, message: print(message, flush=True)
    bus = dbus.SystemBus()
    mocks = {}
    for name in (LOGIN, SYSTEMD):
        path = "/" + name.replace(".", "/")
        bus_name = dbus.service.BusName(name, bus, do_not_queue=True)
        mocks[name] = dbusmock.mockobject.DBusMockObject(bus_name, path, name + ".Manager", {})
        dbusmock.mockobject.objects[path] = mocks[name]
    mocks[LOGIN].AddTemplate("logind", {})
    mocks[SYSTEMD].AddMethods("", [("Subscribe", "", "", ""), ("StartUnit", "ss", "o", 'ret = "/job/7"'),
                                   ("LoadUnit", "s", "o", f'ret = "{UNIT}"'),
                                   ("SetUnit", "sss", "", "import __main__\n__main__.set_unit(*args)")])
    mocks[SYSTEMD].AddObject(UNIT, SYSTEMD + ".Unit", {"Id": "reset.service"}, [])
    set_unit("inactive", "dead", "success")
    print("ready", flush=True)
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()
