#!/usr/bin/python3
"""The login manager and systemd on the system bus, as far as the device's commands need them.

Prints "ready" when both are there, then every call with its arguments. What a method answers can be changed through the
interface org.freedesktop.DBus.Mock of either object.
"""

import dbus
import dbus.mainloop.glib
import dbusmock.mockobject
from gi.repository import GLib

LOGIN = "org.freedesktop.login1"
SYSTEMD = "org.freedesktop.systemd1"


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
    mocks[SYSTEMD].AddMethods("", [("Subscribe", "", "", ""), ("StartUnit", "ss", "o", 'ret = "/job/7"')])
    print("ready", flush=True)
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()
