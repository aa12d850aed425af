"""What the install, package and workflow tests share: the build and source
folders, running a program with a bare environment, and karvo's own
reference output."""

import os
import subprocess
from pathlib import Path

import pytest

BUILD = Path(os.environ["ZEMTRA_BUILD_DIR"])
SOURCE = Path(os.environ["ZEMTRA_SOURCE_DIR"])
LIBDIR = os.environ.get("ZEMTRA_INSTALL_LIBDIR", "lib")
KARVO = Path(os.environ["KARVO"])
GLOBINS = SOURCE / "examples" / "globins.fa"


def bare_environment(home, **extra):
    """Nothing of the build on any path: no LD_LIBRARY_PATH, no
    KARVO_PLUGIN_PATH, PATH with the system's folders only."""
    environment = {"PATH": "/usr/bin:/bin", "HOME": str(home), "LANG": "C.UTF-8"}
    environment.update(extra)
    return environment


def run(command, **options):
    """Runs command and fails the test with its output when it fails."""
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    assert result.returncode == 0, f"{command} ended with {result.returncode}:\n{result.stdout}\n{result.stderr}"
    return result


@pytest.fixture(scope="session")
def reference_rows(tmp_path_factory):
    """The globins re-aligned by the build's karvo, as FASTA."""
    home = tmp_path_factory.mktemp("home")
    return run([KARVO, "align", "-q", GLOBINS], env=bare_environment(home)).stdout
