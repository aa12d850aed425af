"""`cmake --install` into a scratch prefix: the installed karvo runs with
nothing of the build on any path, also after the tree has moved; the manual
pages and the completion list exactly what --help lists; the Python module
and the example host work against the installed tree."""

import os
import re
import shutil
import subprocess

import pytest

from conftest import BUILD, GLOBINS, KARVO, LIBDIR, SOURCE, bare_environment, run

COMMANDS = ["align", "matrices", "gui"]


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    prefix = tmp_path_factory.mktemp("install") / "p"
    run(["cmake", "--install", BUILD, "--prefix", prefix])
    return prefix


def help_options(command):
    """The option names `karvo COMMAND --help` lists, in its left column."""
    text = run([KARVO, command, "--help"]).stdout
    names = set()
    for line in text.splitlines():
        match = re.match(r"\s+(-[\w-]+(?:,-[\w-]+)*)", line)
        if match:
            names.update(match.group(1).split(","))
    return names


def test_installed_karvo_runs_without_the_build_and_after_moving(prefix, tmp_path, reference_rows):
    home = tmp_path / "home"
    result = run([prefix / "bin" / "karvo", "align", GLOBINS], env=bare_environment(home))
    assert result.stdout == reference_rows
    moved = tmp_path / "elsewhere" / "tree"
    shutil.copytree(prefix, moved, symlinks=True)
    away = prefix.with_name("away")
    prefix.rename(away)
    try:
        result = run([moved / "bin" / "karvo", "align", "-q", GLOBINS], env=bare_environment(home))
        assert result.stdout == reference_rows
        if (moved / LIBDIR / "karvo" / "libkarvo_gui.so.0").exists():
            picture = tmp_path / "window.svg"
            run([moved / "bin" / "karvo", "gui", GLOBINS, "--export-image", picture],
                env=bare_environment(home, QT_QPA_PLATFORM="offscreen"))
            assert picture.read_text().startswith("<?xml")
    finally:
        away.rename(prefix)


@pytest.mark.skipif(shutil.which("man") is None, reason="man is not installed")
def test_manual_pages_list_every_option_of_help(prefix):
    for command in COMMANDS:
        page = prefix / "share" / "man" / "man1" / f"karvo-{command}.1"
        text = run(["man", "-l", page], env={**os.environ, "MANWIDTH": "120"}).stdout
        text = text.replace("\u2010", "-").replace("\u2212", "-")
        listed = set()
        for line in text.splitlines():
            match = re.match(r" {7}(-[\w-]+(?:, -[\w-]+)*)", line)
            if match:
                listed.update(match.group(1).split(", "))
        assert listed == help_options(command), command
    program = run(["man", "-l", prefix / "share" / "man" / "man1" / "karvo.1"]).stdout
    for command in COMMANDS:
        assert f"karvo-{command}(1)" in program.replace("\u2010", "-").replace("\u2212", "-")


def complete(script, *words):
    """What the completion offers for the command line `words`, the last
    one being completed."""
    quoted = " ".join("'" + word + "'" for word in words)
    program = f"""source '{script}'
COMP_WORDS=({quoted}); COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1)); _karvo
printf '%s\\n' "${{COMPREPLY[@]}}" """
    return set(run(["bash", "-c", program]).stdout.split())


def test_bash_completion_offers_the_commands_options_and_values(prefix):
    script = prefix / "share" / "bash-completion" / "completions" / "karvo"
    assert set(COMMANDS) <= complete(script, "karvo", "")
    for command in COMMANDS:
        assert complete(script, "karvo", command, "-") == help_options(command), command
    formats = run([KARVO, "align", "--help"]).stdout
    offered = complete(script, "karvo", "align", "--format", "")
    assert offered and all(name in formats for name in offered)
    assert complete(script, "karvo", "align", "--format", "st") == {"stockholm"}


def test_python_module_from_the_site_folder(prefix, tmp_path, reference_rows):
    packages = list(prefix.rglob("zemtra/__init__.py"))
    if not packages:
        pytest.skip("built without the Python module")
    program = f"""import zemtra
rows = [line for line in open('{GLOBINS}')]
names, sequences = [], []
for line in rows:
    if line.startswith('>'):
        names.append(line[1:].split()[0]); sequences.append('')
    else:
        sequences[-1] += line.strip()
for name, row in zemtra.realign(list(zip(names, sequences)), log=None).alignment:
    print(name, row)
"""
    site = packages[0].parent.parent
    result = run(["python3", "-c", program], env=bare_environment(tmp_path, PYTHONPATH=str(site)))
    expected = [block.split("\n", 1) for block in reference_rows.split(">")[1:]]
    assert result.stdout.split("\n")[:-1] == [
        header.split()[0] + " " + body.replace("\n", "") for header, body in expected]


def test_example_host_builds_against_the_installed_package(prefix, tmp_path, reference_rows):
    build = tmp_path / "host"
    compiler = os.environ.get("ZEMTRA_CXX", "c++")
    run(["cmake", "-S", SOURCE / "examples" / "host", "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}",
         f"-DCMAKE_CXX_COMPILER={compiler}"])
    run(["cmake", "--build", build])
    assert run([build / "realign", GLOBINS], env=bare_environment(tmp_path)).stdout == reference_rows

    # The same program built with the flags zemtra.pc gives.
    pkg_config = dict(os.environ, PKG_CONFIG_PATH=str(prefix / LIBDIR / "pkgconfig"))
    flags = run(["pkg-config", "--cflags", "--libs", "zemtra"], env=pkg_config).stdout.split()
    plugins = run(["pkg-config", "--variable=plugindir", "zemtra"], env=pkg_config).stdout.strip()
    program = tmp_path / "realign-pc"
    run([compiler, "-std=c++20", SOURCE / "examples" / "host" / "realign.cpp", f'-DZEMTRA_PLUGIN_DIR="{plugins}"',
         *flags, f"-Wl,-rpath,{prefix / LIBDIR}", "-o", program])
    assert run([program, GLOBINS], env=bare_environment(tmp_path)).stdout == reference_rows
