"""Prints what a screen reader hears of the cells under the cursor, and answers "held" on its input
with what has become of the cell that had the focus last."""
import sys

import pyatspi
from gi.repository import Atspi, GLib

held = None
PATIENCE_MS = 60000  # the usual 0.8 s are too short for a busy machine: the event would be lost
Atspi.set_timeout(PATIENCE_MS, PATIENCE_MS)


def say(*words):
    print(*words, flush=True)


def hear(event):
    global held
    cell = event.source
    try:
        if cell.getRole() != pyatspi.ROLE_TABLE_CELL:
            return
    except GLib.Error:  # it has left the page
        return
    cell.clearCache()
    if event.type == 'object:state-changed:focused' and event.detail1:
        held = cell
        table = cell.parent.queryTable()
        header = table.getRowHeader(table.getRowAtIndex(cell.getIndexInParent()))
        selected = cell.getState().contains(pyatspi.STATE_SELECTED)
        say('focus', header.name, cell.name, '(selected)' if selected else '')
    elif event.type == 'object:text-caret-moved':
        say('caret', cell.queryText().getText(event.detail1, event.detail1 + 1))
    elif event.type == 'object:property-change:accessible-description':
        say('news', cell.description)


def answer(source, condition):
    question = sys.stdin.readline().strip()
    if question == 'held':
        try:
            held.clearCache()
            say('held', held.getRoleName())
        except GLib.Error:
            say('held gone')
    else:
        pyatspi.Registry.stop()
    return True


def begin():
    desktop = pyatspi.Registry.getDesktop(0)
    desktop.clearCache()
    if desktop.childCount == 0:  # the toolkit forgets who begins to listen before it is there
        return True
    # In this order: who gets the focus events gets the others too.
    pyatspi.Registry.registerEventListener(
        hear, 'object:text-caret-moved', 'object:property-change', 'object:state-changed:focused')
    GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, answer)
    say('listening')
    return False


GLib.timeout_add(20, begin)
pyatspi.Registry.start()
