"""Moves the vertices of a mesh with NumPy."""
import numpy as np

from kelvo import Scene, nodes

scene = Scene()
ring = np.linspace(0, 2 * np.pi, 8, endpoint=False)
circle = np.stack([np.cos(ring), np.zeros(8), np.sin(ring)], axis=1).astype(np.float32)
plate = nodes.Mesh(scene, "plate", positions=circle)

before = plate.positions  # Shares the memory of the mesh, and keeps these vertices.
wave = before.copy()
wave[:, 1] = 0.1 * np.sin(3 * ring)
plate.positions = wave

print(f"{len(before)} vertices between {before.min():.1f} and {before.max():.1f}")
print(f"raised by at most {(plate.positions - before)[:, 1].max():.2f}")
