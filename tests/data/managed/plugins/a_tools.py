"""Plug-ins the CPython backend tests load."""
import numpy as np

from kivara.tools import (ArrayChannel, Command, CommandGroup, ContainsTools, Event, IDataFactory, ITool,
                          ListEventSet, SubCommands, serializable, tool)

marker = ContainsTools()


@tool(name="Counter")
@serializable
class Counter(ITool):
    def __init__(self):
        self.count = 0

    @property
    def Commands(self):
        more = SubCommands("More", [CommandGroup([Command("Raise", self.fail)])])
        red = np.full((8, 8, 3), (255, 0, 0))
        return [CommandGroup([Command(f"Count {self.count}", self.bump, "Adds one", icon=red),
                              Command("Off", self.bump, enabled=False)], [more])]

    def bump(self):
        self.count += 1
        self.property_changed("count")

    def fail(self):
        raise RuntimeError("a plug-in fault")


@tool(name="Twice")
@tool(name="Twice again")
class Twice(ITool):
    Commands = []


@tool(name="Ramp")
class Ramp(IDataFactory):
    @property
    def Keys(self):
        return ["Ramp", "Broken"]

    def __getitem__(self, key):
        if key == "Broken":
            raise ValueError("no data")
        CHANNELS.append(ArrayChannel(np.arange(1000, dtype=np.float64) * 0.5, start=0, interval=100))
        return CHANNELS[-1]


CHANNELS = []


KEPT = []


@tool(name="Keeper")
class Keeper(ITool):
    """Keeps the host's sink past the tool's end, and calls it later."""
    last = ""

    @property
    def Commands(self):
        return [CommandGroup([Command("Keep", self.keep), Command("Call kept", self.call_kept),
                              Command("Touch", lambda: [c.changed(5, None) for c in CHANNELS]),
                              Command(f"Last: {Keeper.last}", lambda: None)])]

    def keep(self):
        KEPT.append(self._subscribers[0])

    def call_kept(self):
        try:
            KEPT[0]("x")
        except RuntimeError as error:
            Keeper.last = str(error)
        self.property_changed("last")


@tool(name="Marks")
class Marks(IDataFactory):
    kind = "events"

    @property
    def Keys(self):
        return ["Marks"]

    def __getitem__(self, key):
        return ListEventSet([Event(200, 3, "Marks", "late", ["Lap 1"], [1.5]), Event(100, 0, "Marks", "early")])
