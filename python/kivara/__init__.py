"""Kivara: the Python side of the Velmar telemetry library."""
