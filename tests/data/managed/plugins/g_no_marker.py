from kivara.tools import ITool, tool


@tool(name="Unmarked")
class Unmarked(ITool):
    Commands = []
