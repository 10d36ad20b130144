"""Example Velmar plug-in: a tool listing the fastest laps of the active
task, a data factory offering longitudinal acceleration worked out from
the selection's speed, and one offering "Braking points" found in its brake
pressure.

Drop this file into the "Tools" folder (or point KIVARA_TOOLS at this one)."""
import sys

import numpy as np

from kivara.tools import (ArrayChannel, Command, CommandGroup, ContainsTools, Event, IDataFactory, ITool,
                          ListEventSet, QuantifiedName, TICKS_PER_SECOND, serializable, tool)

contains_tools = ContainsTools()


def _seconds(ticks):
    return ticks / TICKS_PER_SECOND


@tool(name="Fastest laps")
@serializable
class FastestLaps(ITool):
    """Lists the quickest laps of the active task's selections."""

    def __init__(self):
        self.count = 3

    @property
    def Commands(self):
        return [CommandGroup([
            Command("&List fastest laps", self.list_fastest, "The quickest laps of the active task"),
            Command("Show &more", self.show_more, f"List {self.count + 1} laps from now on"),
        ])]

    def fastest(self):
        tasks = self.Velmar.Tasks if self.Velmar is not None else []
        laps = []
        if tasks:
            for selection in tasks[0].DataSelections:
                found = selection.Laps()
                # The first and last laps run from the data's start and to its
                # end (out-lap, in-lap): not timed laps when there are others.
                timed = found[1:-1] if len(found) > 2 else found
                for name, start, end in timed:
                    laps.append((end - start, name, selection.Caption))
        return sorted(laps)[: self.count]

    def list_fastest(self):
        for rank, (duration, name, caption) in enumerate(self.fastest(), 1):
            print(f"{rank}\t{name}\t{_seconds(duration):.3f}\t{caption}")
        sys.stdout.flush()

    def show_more(self):
        self.count += 1
        self.property_changed("count")  # saved with the settings


@tool(name="Longitudinal acceleration")
class LongitudinalAcceleration(IDataFactory):
    """"LongAccel" in m/s^2: the time derivative of "Speed" (read in its base
    unit, m/s)."""

    KEY = QuantifiedName("LongAccel")

    def _speed_name(self):
        selection = self.DataSelection
        if selection is None:
            return None
        for name in selection.ChannelNames():
            if name == "Speed" or name.endswith("]Speed"):
                return name
        return None

    @property
    def Keys(self):
        return [self.KEY] if self._speed_name() else []

    def __getitem__(self, key):
        name = self._speed_name()
        if str(key) != str(self.KEY) or name is None:
            return None
        times, speed = self.DataSelection.ReadChannel(name)
        if len(times) < 2:
            return ArrayChannel(np.zeros(len(times)), times=times)
        accel = np.gradient(speed, times / TICKS_PER_SECOND)
        return ArrayChannel(accel, times=times)


@tool(name="Braking points")
class BrakingPoints(IDataFactory):
    """"Braking points": one event each time the brake pressure ("Brake F",
    else any channel named "Brake...") rises through THRESHOLD bar. Channels
    are read in their base unit: pressure in Pa."""

    kind = "events"
    KEY = "Braking points"
    THRESHOLD = 10.0
    PA_PER_BAR = 1e5

    def _brake_name(self):
        selection = self.DataSelection
        if selection is None:
            return None
        names = list(selection.ChannelNames())
        plain = [(n.split("]")[-1], n) for n in names]
        for short, name in plain:
            if short == "Brake F":
                return name
        return next((name for short, name in plain if short.startswith("Brake")), None)

    @property
    def Keys(self):
        return [self.KEY] if self._brake_name() else []

    def __getitem__(self, key):
        name = self._brake_name()
        if key != self.KEY or name is None:
            return None
        times, pascal = self.DataSelection.ReadChannel(name)
        pressure = np.asarray(pascal) / self.PA_PER_BAR
        above = pressure > self.THRESHOLD
        rises = np.flatnonzero(above[1:] & ~above[:-1]) + 1
        return ListEventSet(Event(int(times[i]), 1, "Braking points", f"Brake on ({pressure[i]:.1f} bar)",
                                  [f"Point {k}"], [float(pressure[i])])
                            for k, i in enumerate(rises, 1))
