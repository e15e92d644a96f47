#!/usr/bin/python3
"""Drives a program's windows through their accessibility tree (AT-SPI), as a screen reader or
a user with a keyboard would reach them.

    atspi_driver.py PID COMMAND [ARG...]

Commands (each waits up to 10 s for what it needs, exit status 0 on success):
    press NAME [ROLE]   performs the first action of the showing object called NAME
    state NAME [ROLE]   prints its states: "checked", "enabled", "showing", one per line
    exists NAME [ROLE]  succeeds once a showing object called NAME exists
    gone NAME [ROLE]    succeeds once no showing object is called NAME
    tree                prints every showing object as "role<TAB>name"
ROLE is an AT-SPI role name as pyatspi spells it ("push button", "check box", "radio button").
"""
import sys
import time

import pyatspi


def application(pid):
    desktop = pyatspi.Registry.getDesktop(0)
    for app in desktop:
        try:
            if app is not None and app.get_process_id() == pid:
                return app
        except Exception:
            continue
    return None


def showing(obj):
    try:
        return obj.getState().contains(pyatspi.STATE_SHOWING)
    except Exception:
        return False


def walk(obj, depth=0):
    if obj is None or depth > 60:
        return
    yield obj
    try:
        children = list(obj)
    except Exception:
        return
    for child in children:
        yield from walk(child, depth + 1)


def find(pid, name, role=None):
    app = application(pid)
    if app is None:
        return None
    for obj in walk(app):
        try:
            if obj.name == name and showing(obj) and (role is None or obj.getRoleName() == role):
                return obj
        except Exception:
            continue
    return None


def wait_for(fn, timeout=10.0):
    end = time.monotonic() + timeout
    while True:
        result = fn()
        if result or time.monotonic() > end:
            return result
        time.sleep(0.1)


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    pid, command, args = int(sys.argv[1]), sys.argv[2], sys.argv[3:]
    name = args[0] if args else None
    role = args[1] if len(args) > 1 else None
    if command == 'tree':
        app = wait_for(lambda: application(pid))
        for obj in walk(app) if app else []:
            if showing(obj):
                print('%s\t%s' % (obj.getRoleName(), obj.name))
        return 0 if app else 1
    if command == 'gone':
        return 0 if wait_for(lambda: find(pid, name, role) is None) else 1
    obj = wait_for(lambda: find(pid, name, role))
    if obj is None:
        print('no showing object named %r' % name, file=sys.stderr)
        return 1
    if command == 'exists':
        return 0
    if command == 'press':
        action = obj.queryAction()
        if action.nActions < 1:
            print('%r has no action' % name, file=sys.stderr)
            return 1
        # What a click does, not "SetFocus", which Qt may list first.
        names = [action.getName(i).lower() for i in range(action.nActions)]
        wanted = [i for i, n in enumerate(names) if n in ('press', 'click', 'toggle', 'activate')]
        return 0 if action.doAction(wanted[0] if wanted else 0) else 1
    if command == 'state':
        states = obj.getState()
        for label, state in (('checked', pyatspi.STATE_CHECKED),
                             ('enabled', pyatspi.STATE_ENABLED),
                             ('showing', pyatspi.STATE_SHOWING)):
            if states.contains(state):
                print(label)
        return 0
    sys.exit('unknown command ' + command)


if __name__ == '__main__':
    sys.exit(main())
