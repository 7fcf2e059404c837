"""Builds the Python package with the standard library alone: a wheel, an editable wheel, a source
archive.

pip and build call these functions; pyproject.toml names this file. The same sources give the same
bytes.
"""

import base64
import gzip
import hashlib
import io
import re
import tarfile
import tomllib
import zipfile
from pathlib import Path

HERE = Path(__file__).parent
PROJECT = tomllib.loads((HERE / "pyproject.toml").read_text(encoding="utf-8"))["project"]
VERSION = re.search(r'^__version__ = "(.*)"$',
                    (HERE / "orla/__init__.py").read_text(encoding="utf-8"), re.MULTILINE)[1]
NAME = f"{PROJECT['name']}-{VERSION}"
DIST_INFO = f"{NAME}.dist-info"
METADATA = f"""\
Metadata-Version: 2.1
Name: {PROJECT['name']}
Version: {VERSION}
Summary: {PROJECT['description']}
Author-email: {PROJECT['authors'][0]['name']} <{PROJECT['authors'][0]['email']}>
License: {PROJECT['license']['text']}
Requires-Python: {PROJECT['requires-python']}
"""
WHEEL = """\
Wheel-Version: 1.0
Generator: orla
Root-Is-Purelib: true
Tag: py3-none-any
"""


def package_files():
    """Path to contents of the package's files."""
    files = sorted([*HERE.glob("orla/*.py"), HERE / "orla/py.typed"])
    return {str(path.relative_to(HERE)): path.read_bytes() for path in files}


def dist_info():
    """Path to contents of the package's metadata."""
    return {f"{DIST_INFO}/METADATA": METADATA.encode(), f"{DIST_INFO}/WHEEL": WHEEL.encode(),
            f"{DIST_INFO}/LICENSE": (HERE / "LICENSE").read_bytes()}


def write_wheel(folder, files):
    files = {**files, **dist_info()}
    record = ""
    for path, data in files.items():
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
        record += f"{path},sha256={digest},{len(data)}\n"
    files[f"{DIST_INFO}/RECORD"] = f"{record}{DIST_INFO}/RECORD,,\n".encode()
    name = f"{NAME}-py3-none-any.whl"
    with zipfile.ZipFile(Path(folder) / name, "w") as wheel:
        for path, data in files.items():
            entry = zipfile.ZipInfo(path)  # of 1980
            entry.external_attr = 0o100644 << 16
            wheel.writestr(entry, data, zipfile.ZIP_DEFLATED)
    return name


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    for path, data in dist_info().items():
        file = Path(metadata_directory) / path
        file.parent.mkdir(exist_ok=True)
        file.write_bytes(data)
    return DIST_INFO


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, package_files())


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, {"orla.pth": f"{HERE}\n".encode()})


def build_sdist(sdist_directory, config_settings=None):
    files = {**package_files(), "PKG-INFO": METADATA.encode()}
    for name in ("LICENSE", "build_backend.py", "pyproject.toml"):
        files[name] = (HERE / name).read_bytes()
    tar = io.BytesIO()
    with tarfile.open(fileobj=tar, mode="w") as archive:
        for path, data in files.items():
            entry = tarfile.TarInfo(f"{NAME}/{path}")
            entry.size = len(data)
            archive.addfile(entry, io.BytesIO(data))
    name = f"{NAME}.tar.gz"
    (Path(sdist_directory) / name).write_bytes(gzip.compress(tar.getvalue(), mtime=0))
    return name
