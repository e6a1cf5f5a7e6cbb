"""A studio's own checks beside those of the library, written as SARIF for other tools."""
import json
from collections.abc import Iterator

import kelvo

scene = kelvo.Scene()
scene.create("pointLight", "lamp", intensity=5000)
scene.create("mesh", "Desk")
scene.read('node pointLight "spot" {\n    Real intensity = -1\n}\n', source="shot.kns")


def studio_findings() -> Iterator[tuple[str, str, str, str]]:
    for match in scene.find("*.intensity", value=">1000"):
        yield "too-bright", "warning", match.path, f"{match.path} is above 1000."
    for node in scene:
        if not node.name.islower():
            yield "lower-case", "error", node.name, f"'{node.name}' is not in lower case."


found = [(one.rule.id, one.severity, one.place, one.message) for one in scene.validate()]
results = [{"ruleId": rule, "level": level, "message": {"text": message},
            "locations": [{"logicalLocations": [{"fullyQualifiedName": place}]}]}
           for rule, level, place, message in [*found, *studio_findings()]]
driver = {"name": "studio checks", "version": "1.0.0"}
print(json.dumps({"version": "2.1.0", "runs": [{"tool": {"driver": driver}, "results": results}]},
                 indent=1))
