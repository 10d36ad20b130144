"""What the library's embedded interpreter calls: loading plug-in modules and
walking a tool's commands. Not part of the plug-in contract."""
import importlib.util
import os
import pickle
import re
import sys

import numpy as np

from kivara import tools as contract

_loaded = 0


def _unique_module_name(path):
    global _loaded
    _loaded += 1
    stem = re.sub(r"\W", "_", os.path.splitext(os.path.basename(path))[0])
    return f"kivara_plugin_{_loaded}_{stem}"


def _type_name(module, cls, explicit):
    if explicit:
        return explicit
    namespace = getattr(module, "__kivara_namespace__", None)
    if not namespace:
        namespace = os.path.splitext(os.path.basename(module.__file__))[0]
    return f"{namespace}.{cls.__qualname__}"


def load_module(path):
    """Imports one module file; gives (marker, [(type name, display name,
    attribute count, class)]) in the order the classes were defined."""
    name = _unique_module_name(path)
    spec = importlib.util.spec_from_file_location(name, path)
    if spec is None or spec.loader is None:
        raise ImportError(f"not a module: {path}")
    module = importlib.util.module_from_spec(spec)
    sys.modules[name] = module
    try:
        spec.loader.exec_module(module)
    except BaseException:
        sys.modules.pop(name, None)
        raise
    marker = any(isinstance(v, contract.ContainsTools) for v in vars(module).values())
    types = []
    for value in list(vars(module).values()):
        if not isinstance(value, type) or value.__module__ != name:
            continue
        marks = value.__dict__.get("__kivara_tool_attributes__", [])
        display, explicit = marks[0] if marks else ("", None)
        types.append((_type_name(module, value, explicit), display, len(marks), value))
    return marker, types


def is_disposable(cls):
    return callable(getattr(cls, "dispose", None))


def supports_persistence(cls):
    return bool(cls.__dict__.get("__kivara_serializable__", False))


def is_tool(cls):
    return issubclass(cls, contract.ITool)


def is_data_factory(cls):
    return issubclass(cls, contract.IDataFactory)


def is_events_factory(cls):
    return is_data_factory(cls) and cls.kind == "events"


def make(cls, state):
    """A new instance, or one read from a pickled state."""
    if state is not None:
        made = pickle.loads(state)
        if not isinstance(made, cls):
            raise TypeError("the saved state is of another type")
        return made
    made = cls()
    if isinstance(made, contract.IDataFactory):
        # A factory whose __init__ skipped the base class's still gets its slots.
        for name, value in (("Added", []), ("Removed", []), ("DataSelection", None), ("Velmar", None)):
            if name not in made.__dict__:
                setattr(made, name, value)
    return made


def save(obj):
    return pickle.dumps(obj, protocol=pickle.HIGHEST_PROTOCOL)


def picture(icon):
    """An icon as (width, height, RGBA bytes row by row); None for none or
    for one that is not an H x W x 4 or H x W x 3 array."""
    if icon is None:
        return None
    try:
        a = np.asarray(icon, dtype=np.float64)
    except (TypeError, ValueError):
        return None
    if a.ndim != 3 or a.shape[2] not in (3, 4) or a.shape[0] == 0 or a.shape[1] == 0:
        return None
    a = np.clip(np.rint(a), 0, 255).astype(np.uint8)
    if a.shape[2] == 3:
        a = np.concatenate([a, np.full(a.shape[:2] + (1,), 255, dtype=np.uint8)], axis=2)
    return a.shape[1], a.shape[0], np.ascontiguousarray(a).tobytes()


def _command(cmd, on_change, subscribed):
    cmd.subscribe(on_change)
    subscribed.append(cmd)
    description = cmd.Description
    return (str(cmd.Name), None if description is None else str(description), bool(cmd.Enabled),
            bool(cmd.Checked), picture(cmd.Icon), cmd.Execute)


def walk_groups(groups, on_change, subscribed):
    """The groups as nested tuples: ([command...], [(name, groups)...]),
    each group, sub-command list and command subscribed to `on_change`."""
    out = []
    for group in groups or ():
        group.subscribe(on_change)
        subscribed.append(group)
        commands = [_command(c, on_change, subscribed) for c in (group.Commands or ())]
        subs = []
        for sub in group.SubCommands or ():
            sub.subscribe(on_change)
            subscribed.append(sub)
            subs.append((str(sub.Name), walk_groups(sub.Groups, on_change, subscribed)))
        out.append((commands, subs))
    return out


def unsubscribe_all(subscribed, on_change):
    for obj in subscribed:
        obj.unsubscribe(on_change)
    subscribed.clear()
