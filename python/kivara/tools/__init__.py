"""The contract of Velmar plug-ins written in Python.

A module in the "Tools" folder holds plug-ins when it binds a `ContainsTools`
marker at its top level. Each class in it decorated once with `@tool(name=...)`
is a plug-in type: a tool (an `ITool`) bringing commands into the host's tree,
or a data factory (an `IDataFactory`) offering channels computed in Python.

Times are integer ticks of 100 ns; arrays are numpy arrays.
"""
from abc import ABC, abstractmethod

import numpy as np

TICKS_PER_SECOND = 10_000_000


class DataPending(Exception):
    """The library is still fetching the data asked for: the host asks the
    plug-in again once it has come."""


class ContainsTools:
    """Module marker: `contains_tools = ContainsTools()` at the top level."""


def tool(name, type_name=None):
    """Marks a class as a plug-in type; `name` is its display name.

    Counted per class: a class decorated twice is not a plug-in. The type
    name is `type_name`, else the module's `__kivara_namespace__` (or its file
    name) and the class name joined by a dot.
    """
    def mark(cls):
        marks = list(cls.__dict__.get("__kivara_tool_attributes__", ()))
        marks.append((name, type_name))
        cls.__kivara_tool_attributes__ = marks
        return cls
    return mark


def serializable(cls):
    """Marks a tool whose state is saved (with pickle) in the settings file."""
    cls.__kivara_serializable__ = True
    return cls


class Notifier:
    """Raises property changes to the host's subscribers."""

    def subscribe(self, callback):
        self.__dict__.setdefault("_subscribers", []).append(callback)

    def unsubscribe(self, callback):
        subscribers = self.__dict__.get("_subscribers", [])
        if callback in subscribers:
            subscribers.remove(callback)

    def property_changed(self, name=""):
        for callback in list(self.__dict__.get("_subscribers", ())):
            callback(name)

    def __getstate__(self):
        state = dict(self.__dict__)
        state.pop("_subscribers", None)
        state.pop("_velmar", None)
        return state


class ICommand(Notifier, ABC):
    """A command. `Icon` is None or an H x W x 4 (RGBA) or H x W x 3 (RGB)
    array of 0-255 values; the host shows it at 16 x 16 pixels (an icon of
    another form is not shown)."""
    Description = None
    Enabled = True
    Checked = False
    Icon = None

    @property
    @abstractmethod
    def Name(self): ...

    @abstractmethod
    def Execute(self): ...


class Command(ICommand):
    """A command running a callable."""

    def __init__(self, name, action, description=None, enabled=True, checked=False, icon=None):
        self._name, self._action = name, action
        self.Description, self.Enabled, self.Checked, self.Icon = description, enabled, checked, icon

    @property
    def Name(self):
        return self._name

    def Execute(self):
        self._action()


class ISubCommands(Notifier, ABC):
    @property
    @abstractmethod
    def Name(self): ...

    @property
    @abstractmethod
    def Groups(self): ...


class ICommandGroup(Notifier, ABC):
    @property
    @abstractmethod
    def Commands(self): ...

    @property
    def SubCommands(self):
        return []


class CommandGroup(ICommandGroup):
    def __init__(self, commands=(), sub_commands=()):
        self._commands, self._sub = list(commands), list(sub_commands)

    @property
    def Commands(self):
        return self._commands

    @property
    def SubCommands(self):
        return self._sub


class SubCommands(ISubCommands):
    def __init__(self, name, groups=()):
        self._name, self._groups = name, list(groups)

    @property
    def Name(self):
        return self._name

    @property
    def Groups(self):
        return self._groups


class ITool(Notifier, ABC):
    """A tool: `Velmar` is the host's root while the tool lives."""

    @property
    def Velmar(self):
        return self.__dict__.get("_velmar")

    @Velmar.setter
    def Velmar(self, root):
        self.__dict__["_velmar"] = root

    @property
    @abstractmethod
    def Commands(self): ...

    def dispose(self):
        """Called once at the end."""


class IToolRequiringParentWindowHandle(ABC):
    ParentWindowHandle = 0


class IToolAppearance(ABC):
    BackgroundColor = 0
    ForegroundColor = 0
    GridColor = 0
    Font = None  # (name, size in 1/10000 pt, bold, italic)


class QuantifiedName:
    """A channel key: "[quantity]name", or the plain name."""

    def __init__(self, name, quantity=None):
        self.name, self.quantity = name, quantity

    def ToString(self):
        return f"[{self.quantity}]{self.name}" if self.quantity else self.name

    __str__ = ToString

    def __eq__(self, other):
        return str(self) == str(other)

    def __hash__(self):
        return hash(str(self))


class ITimeArray(ABC):
    Periodic = False
    Start = End = Count = Interval = 0

    def __getitem__(self, index): ...

    def CopyToBuffer(self, first, count):
        return np.array([self[first + k] for k in range(count)], dtype=np.int64)


class ArrayTimes(ITimeArray):
    """Times of a block: periodic (start, interval, count) or a tick array."""

    def __init__(self, times=None, start=0, interval=0, count=0):
        if times is not None:
            self.times = np.ascontiguousarray(times, dtype=np.int64)
            self.Periodic, self.Count = False, len(self.times)
            self.Start, self.End = int(self.times[0]), int(self.times[-1])
        else:
            self.times = None
            self.Periodic, self.Start, self.Interval, self.Count = True, int(start), int(interval), int(count)
            self.End = self.Start + self.Interval * (self.Count - 1)

    def __getitem__(self, index):
        return int(self.times[index]) if self.times is not None else self.Start + self.Interval * index

    def CopyToBuffer(self, first, count):
        if self.times is not None:
            return self.times[first:first + count]
        return self.Start + self.Interval * np.arange(first, first + count, dtype=np.int64)


class DataBlock:
    def __init__(self, times, values=None, join=False):
        self.Times, self.Values, self.Join = times, values, join

    def IndexOfNextTime(self, time):
        """The first index with a time after `time`, -1 for none."""
        t = self.Times
        if t.Periodic:
            k = max(0, (time - t.Start) // t.Interval + 1) if t.Interval else 0
            return int(k) if k < t.Count else -1
        k = int(np.searchsorted(t.times, time, side="right"))
        return k if k < t.Count else -1

    def IndexOfPreviousTime(self, time):
        """The last index with a time before `time`, -1 for none."""
        t = self.Times
        if t.Periodic:
            k = min(t.Count - 1, -((t.Start - time) // t.Interval) - 1) if t.Interval else -1
            return int(k) if k >= 0 else -1
        return int(np.searchsorted(t.times, time, side="left")) - 1


class IDataBlocks(ABC):
    @property
    @abstractmethod
    def Count(self): ...

    @abstractmethod
    def __getitem__(self, index): ...


class DataNotifier:
    """How a channel or event set tells the host about itself, once handed
    out: `changed(start, end)` when its data changed (over [start, end]
    ticks; all of it without them), `state_changed()` when what it waited
    for came (after raising DataPending), `availability_changed()` when it
    became available or stopped being so, `terminating()` when it goes. The
    host then reads it again."""

    def listen(self, callback):
        self.__dict__.setdefault("_kivara_listeners", []).append(callback)

    def unlisten(self, callback):
        listeners = self.__dict__.get("_kivara_listeners", [])
        if callback in listeners:
            listeners.remove(callback)

    def _tell(self, *what):
        for callback in list(self.__dict__.get("_kivara_listeners", ())):
            callback(*what)

    def changed(self, start=None, end=None):
        self._tell("data", start, end)

    def state_changed(self):
        self._tell("state")

    def availability_changed(self):
        self._tell("availability")

    def terminating(self):
        self._tell("terminating")


class Channel(DataNotifier, ABC):
    """A channel: `Data` is its blocks (None for none)."""

    Data = None

    def GetIndexOfNearestBlock(self, time, first):
        """With `first`, the first block ending at or after `time`; else the
        last block starting at or before it. -1 for none."""
        blocks = self.Data
        if blocks is None:
            return -1
        n = len(blocks)
        if first:
            for k in range(n):
                if blocks[k].Times.End >= time:
                    return k
            return -1
        for k in range(n - 1, -1, -1):
            if blocks[k].Times.Start <= time:
                return k
        return -1

    @abstractmethod
    def GetValueAtTime(self, time): ...

    def GetValuesAtTimes(self, times):
        """Values at an array of times; override to do it without a call a sample."""
        return np.array([self.GetValueAtTime(int(t)) for t in times], dtype=np.float64)


class ArrayChannel(Channel):
    """A channel over numpy arrays, one block; values between samples held."""

    def __init__(self, values, times=None, start=0, interval=0):
        self.values = np.ascontiguousarray(values, dtype=np.float64)
        if times is not None and len(times) > 1:
            steps = np.diff(times)
            if steps[0] > 0 and np.all(steps == steps[0]):  # evenly spaced: periodic
                start, interval, times = int(times[0]), int(steps[0]), None
        block_times = ArrayTimes(times=times) if times is not None else ArrayTimes(
            start=start, interval=interval, count=len(self.values))
        self.Data = [DataBlock(block_times, self.values)] if len(self.values) else []

    def _indexes(self, times):
        t = self.Data[0].Times
        if t.Periodic:
            k = (np.asarray(times, dtype=np.int64) - t.Start) // t.Interval
        else:
            k = np.searchsorted(t.times, times, side="right") - 1
        return np.clip(k, 0, t.Count - 1)

    def GetValueAtTime(self, time):
        return float(self.values[self._indexes([time])[0]])

    def GetValuesAtTimes(self, times):
        return self.values[self._indexes(times)]


class Event:
    def __init__(self, time, category=0, source="", message="", information=(), data=()):
        self.Time, self.Category, self.Source, self.Message = time, category, source, message
        self.Information, self.Data = list(information), list(data)


class EventSet(DataNotifier, ABC):
    @property
    @abstractmethod
    def Count(self): ...

    @abstractmethod
    def __getitem__(self, index): ...


class ListEventSet(EventSet):
    """An event set over a list of `Event`s, in any order (the host sorts
    them by time)."""

    def __init__(self, events):
        self.events = list(events)

    @property
    def Count(self):
        return len(self.events)

    def __getitem__(self, index):
        return self.events[index]


class IDataFactory(ABC):
    """A data factory: keys (QuantifiedName for channels, text for event
    sets), the items behind them, and the selection it works on.

    `Added` and `Removed` are lists of callables the host subscribes to;
    call `names_added(keys)` / `names_removed(keys)` to raise them."""

    kind = "channels"  # or "events"

    def __init__(self):
        self.Added, self.Removed, self.DataSelection, self.Velmar = [], [], None, None

    def names_added(self, keys):
        for callback in list(self.Added):
            callback([str(k) for k in keys])

    def names_removed(self, keys):
        for callback in list(self.Removed):
            callback([str(k) for k in keys])

    @property
    @abstractmethod
    def Keys(self): ...

    def Contains(self, key):
        return any(str(k) == str(key) for k in self.Keys)

    def GetIcon(self, key):
        """The key's icon, in the form of `ICommand.Icon`, or None."""
        return None

    @abstractmethod
    def __getitem__(self, key): ...

    def dispose(self):
        """Called once at the end."""


__all__ = [name for name in dir() if not name.startswith("_") and name not in ("ABC", "abstractmethod", "np")]
