"""Packs the wheel, from a build of the package; scripts/wheel calls it."""
import os

from skbuild import setup

setup(
    name="kelvo",
    version=os.environ["KELVO_VERSION"],
    description="Scenes of named, typed nodes: the Kelvo SDK for Python",
    packages=["kelvo"],
    python_requires=">=3.11",
    install_requires=["numpy"],
    cmake_args=["-DKELVO_PACKAGE=" + os.environ["KELVO_PACKAGE"]],
)
