"""Builds the package: the version is the tree's, and the messages' classes are generated from the schema."""

import pathlib
import shutil
import subprocess

from setuptools import setup
from setuptools.command.build_py import build_py

HERE = pathlib.Path(__file__).resolve().parent
SCHEMA = HERE.parent / "proto"


class BuildWithMessages(build_py):
    def run(self):
        super().run()
        protoc = shutil.which("protoc")
        if protoc is None:
            raise SystemExit("orbis-storage: protoc is missing (on Debian: apt install protobuf-compiler)")
        files = sorted(str(file.relative_to(SCHEMA)) for file in SCHEMA.glob("orbis/datatypes/*.proto"))
        output = pathlib.Path(self.build_lib).resolve()
        subprocess.run([protoc, f"--proto_path={SCHEMA}", f"--python_out={output}", f"--pyi_out={output}", *files], cwd=SCHEMA,
                       check=True)


setup(version=(HERE.parents[1] / "VERSION").read_text().strip(), packages=["orbis_storage"],
      package_data={"orbis_storage": ["py.typed"]}, cmdclass={"build_py": BuildWithMessages})
