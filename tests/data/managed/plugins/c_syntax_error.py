from kivara.tools import ContainsTools
marker = ContainsTools(
