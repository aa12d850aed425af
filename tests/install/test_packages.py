"""`cpack -G DEB` from the build folder: the packages hold what they should,
only the window's package pulls in Qt, karvo runs from the packages unpacked
into a scratch root (nothing is installed on the system), and every tag
lintian still gives is explained in the README."""

import re
import shutil
import subprocess

import pytest

from conftest import BUILD, GLOBINS, LIBDIR, SOURCE, bare_environment, run

# Files each package must hold, below /usr.
EXPECTED = {
    "karvo": ["bin/karvo", f"{LIBDIR}/libkarvo_core.so.0", f"{LIBDIR}/libkarvo_formats.so.0",
              f"{LIBDIR}/karvo/plugins/libZemtraBatch.so.0", "share/man/man1/karvo.1.gz",
              "share/man/man1/karvo-align.1.gz", "share/man/man1/karvo-matrices.1.gz",
              "share/bash-completion/completions/karvo"],
    "karvo-gui": [f"{LIBDIR}/karvo/libkarvo_gui.so.0", f"{LIBDIR}/karvo/plugins/libZemtra.so.0",
                  f"{LIBDIR}/libkarvo.so.0", "share/man/man1/karvo-gui.1.gz"],
    "zemtra-dev": ["include/zemtra/zemtra_plugin.h", "include/karvo/host/alignment.h",
                   f"{LIBDIR}/cmake/Zemtra/ZemtraConfig.cmake", f"{LIBDIR}/pkgconfig/zemtra.pc",
                   f"{LIBDIR}/libkarvo_core.so"],
    "python3-zemtra": ["zemtra/__init__.py"],
}


@pytest.fixture(scope="module")
def packages(tmp_path_factory):
    folder = tmp_path_factory.mktemp("packages")
    run(["cpack", "-G", "DEB", "--config", BUILD / "CPackConfig.cmake", "-B", folder], cwd=folder)
    return {run(["dpkg-deb", "-f", deb, "Package"]).stdout.strip(): deb for deb in folder.glob("*.deb")}


def test_each_package_holds_its_files_and_only_the_window_needs_qt(packages):
    for package, files in EXPECTED.items():
        if package not in packages:
            assert package in ("karvo-gui", "python3-zemtra"), f"no {package} package"
            continue
        listed = run(["dpkg-deb", "-c", packages[package]]).stdout
        for file in files:
            assert re.search(r"\./usr/(.*/)?" + re.escape(file) + r"( |$)", listed, re.M), f"{package}: {file}"
    for package, deb in packages.items():
        depends = run(["dpkg-deb", "-f", deb, "Depends"]).stdout
        assert ("qt6" in depends) == (package == "karvo-gui"), f"{package}: {depends}"
        if package != "karvo":
            assert "karvo (= " in depends, package


def test_karvo_runs_from_the_unpacked_packages(packages, tmp_path, reference_rows):
    root = tmp_path / "root"
    for deb in packages.values():
        run(["dpkg", "-x", deb, root])
    result = run([root / "usr" / "bin" / "karvo", "align", "-q", GLOBINS], env=bare_environment(tmp_path))
    assert result.stdout == reference_rows


@pytest.mark.skipif(shutil.which("lintian") is None, reason="lintian is not installed")
def test_every_lintian_tag_is_explained(packages):
    result = subprocess.run(["lintian", "--tag-display-limit", "0", *packages.values()], capture_output=True,
                            text=True)
    tags = set(re.findall(r"^[EW]: [\w.+-]+: ([\w-]+)", result.stdout, re.M))
    readme = (SOURCE / "README.md").read_text()
    unexplained = sorted(tag for tag in tags if f"`{tag}`" not in readme)
    assert not unexplained, result.stdout
