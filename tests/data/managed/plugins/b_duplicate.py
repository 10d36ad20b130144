from kivara.tools import ContainsTools, ITool, tool

__kivara_namespace__ = "a_tools"
marker = ContainsTools()


@tool(name="Counter from b")
class Counter(ITool):
    Commands = []
