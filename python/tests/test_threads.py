"""Four runs from four threads at once give what the same runs give one by one."""

import threading

import zemtra


def _observed(result):
    return (result.outcome, result.names, result.alignment, result.log, result.newick,
            [[float(v) for v in row] for row in result.identity])


def test_four_threads_on_different_alignments(globins, kinases, family):
    # Different alignments, matrices, gaps, ranges and prealigned blocks, so
    # that no two runs share a table or a size.
    calls = [
        (globins, {}),
        (kinases, {"matrix": 3, "gap": 0}),
        (family[:24], {"gap": 100, "prealigned": 2}),
        (globins[::-1], {"matrix": 7, "range": (10, 90)}),
    ]
    expected = [_observed(zemtra.realign(rows, **options)) for rows, options in calls]
    results = [None] * len(calls)
    errors = []
    start = threading.Barrier(len(calls))

    def run(index):
        rows, options = calls[index]
        try:
            start.wait()
            results[index] = _observed(zemtra.realign(rows, **options))
        except Exception as error:  # noqa: BLE001 - reported below
            errors.append(error)

    threads = [threading.Thread(target=run, args=(index,)) for index in range(len(calls))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not errors
    for index, want in enumerate(expected):
        assert results[index] == want, f"run {index} differs when run beside the others"
