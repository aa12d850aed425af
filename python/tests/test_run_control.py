"""Progress, cancelling, Ctrl-C, two threads at once and the engine's own exits."""

import _thread
import os
import subprocess
import sys
import textwrap
import threading
import time

import pytest

import zemtra

def test_progress_comes_from_the_calling_thread_in_order(family):
    seen = []
    caller = threading.get_ident()

    def progress(done, total):
        seen.append((done, total, threading.get_ident()))

    zemtra.realign(family, progress=progress)
    assert seen, "no progress reported"
    assert all(thread == caller for _, _, thread in seen)
    pairs = len(family) * (len(family) - 1) // 2
    assert all(total == pairs + 1 for _, total, _ in seen)
    values = [done for done, _, _ in seen]
    assert values == sorted(values) and values[-1] == pairs + 1


def test_progress_returning_false_cancels(family):
    calls = []

    def progress(done, total):
        calls.append(done)
        return False

    result = zemtra.realign(family, progress=progress)
    assert result.outcome == zemtra.Outcome.CANCELLED
    assert result.alignment == list(family)
    assert "Process was cancelled" in result.log
    assert result.newick is None and result.identity is None
    assert len(calls) == 1


def test_progress_raising_cancels_and_propagates(family, globins):
    class Stop(Exception):
        pass

    def progress(done, total):
        raise Stop("enough")

    with pytest.raises(Stop, match="enough"):
        zemtra.realign(family, progress=progress)
    assert zemtra.realign(globins).outcome == zemtra.Outcome.COMPLETED


def test_ctrl_c_cancels_and_raises_keyboard_interrupt(family, globins):
    if threading.current_thread() is not threading.main_thread():
        pytest.skip("signals reach only the main thread")
    started = threading.Event()

    def interrupt_when_started():
        started.wait(10)
        _thread.interrupt_main()

    helper = threading.Thread(target=interrupt_when_started)
    helper.start()
    began = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        zemtra.realign(family, progress=lambda done, total: started.set())
    helper.join()
    assert time.monotonic() - began < 60
    assert zemtra.realign(globins).outcome == zemtra.Outcome.COMPLETED


def test_two_threads_at_once(family):
    inputs = {"family": family, "reversed": family[::-1]}
    expected = {key: zemtra.realign(pairs) for key, pairs in inputs.items()}
    results, errors = {}, []

    def run(key):
        try:
            results[key] = zemtra.realign(inputs[key])
        except Exception as error:  # noqa: BLE001 - reported below
            errors.append(error)

    threads = [threading.Thread(target=run, args=(key,)) for key in inputs]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not errors
    for key in inputs:
        assert results[key].alignment == expected[key].alignment
        assert results[key].log == expected[key].log


def test_the_run_leaves_the_interpreter_to_other_threads(family):
    counted = []
    stop = threading.Event()

    def count():
        n = 0
        while not stop.is_set():
            n += 1
        counted.append(n)

    counter = threading.Thread(target=count)
    counter.start()
    zemtra.realign(family)
    stop.set()
    counter.join()
    assert counted[0] > 1000


def test_rows_that_do_not_fit_raise_and_the_interpreter_goes_on(globins):
    rows = [("s0", "MAK"), ("s1", "GMVWWE"), ("s2", "WKL"), ("s3", "DS"), ("s4", "DNDQF")]
    with pytest.raises(zemtra.EngineExit) as raised:
        zemtra.realign(rows, matrix=14, gap=0)
    assert raised.value.status == 666
    assert "would not fit in twice the range width" in str(raised.value)
    assert zemtra.realign(globins).outcome == zemtra.Outcome.COMPLETED


def test_pair_without_an_aligned_position_raises():
    with pytest.raises(zemtra.EngineExit) as raised:
        zemtra.realign([("trp", "W"), ("cys", "C")], matrix=14)
    assert raised.value.status == 1 and raised.value.reason == "gap A"
    assert 'status 1, "gap A"' in str(raised.value)


OUT_OF_MEMORY = textwrap.dedent("""
    import resource, zemtra
    size = next(int(line.split()[1]) for line in open("/proc/self/status") if line.startswith("VmSize:"))
    limit = size * 1024 + (1 << 30)
    resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
    try:
        zemtra.realign([("a", "M" * 20000), ("b", "K" * 20000)])
    except MemoryError as error:
        print(error)
    print(zemtra.realign([("a", "MKV"), ("b", "MKIV")]).alignment)
""")


@pytest.mark.skipif("asan" in os.environ.get("LD_PRELOAD", ""),
                    reason="the address sanitizer reserves more address space than the limit this test sets")
def test_allocation_failure_raises_memory_error():
    out = subprocess.run([sys.executable, "-c", OUT_OF_MEMORY], check=True, capture_output=True, text=True).stdout
    assert out.splitlines() == [
        "out of memory re-aligning 20000 columns of 2 sequences; the input is unchanged",
        "[('a', 'MKV-'), ('b', 'MKIV')]",
    ]
