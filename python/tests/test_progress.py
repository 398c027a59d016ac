"""Progress callbacks, cancellation, and work running with the GIL released."""

import threading

import numpy as np
import pytest

import mirelan


def test_callback_sees_the_work_advance(fast_progress):
    v = mirelan.Volume((12, 32, 32))
    calls = []
    mirelan.invert(v, progress=lambda done, total, message: calls.append((done, total)))
    assert calls and all(total == 12 for _, total in calls)
    done = [d for d, _ in calls]
    assert done == sorted(done) and done[-1] == 12


def test_returning_false_cancels_and_keeps_the_source(fast_progress):
    a = np.arange(12 * 32 * 32, dtype=np.uint32).reshape(12, 32, 32).astype(np.uint8)
    v = mirelan.Volume.from_array(a.copy())
    with pytest.raises(mirelan.Cancelled) as error:
        mirelan.invert(v, progress=lambda done, total, message: done < 3)
    assert error.value.number == 1008
    np.testing.assert_array_equal(np.asarray(v), a)
    assert mirelan.invert(v).equals(mirelan.Volume.from_array(255 - a))  # later work runs


def test_an_exception_in_the_callback_comes_out_as_itself(fast_progress):
    def failing(done, total, message):
        raise KeyError("from the callback")

    with pytest.raises(KeyError, match="from the callback"):
        mirelan.flip(mirelan.Volume((8, 16, 16)), progress=failing)
    with pytest.raises(TypeError):
        mirelan.flip(mirelan.Volume((1, 1, 1)), progress=42)


def test_cancel_from_another_thread(fast_progress):
    v = mirelan.Volume((64, 64, 64))
    started = threading.Event()
    release = threading.Event()

    def report(done, total, message):
        started.set()
        release.wait(10)  # keeps the work going until the cancel is asked for

    outcome = []

    def work():
        try:
            mirelan.invert(v, progress=report)
            outcome.append("finished")
        except mirelan.Cancelled:
            outcome.append("cancelled")

    worker = threading.Thread(target=work)
    worker.start()
    assert started.wait(10)
    mirelan.cancel()
    release.set()
    worker.join(10)
    assert outcome == ["cancelled"]
    mirelan.invert(v)  # the request ended with the work it cancelled


def test_threads_run_tools_with_callbacks_at_once(fast_progress):
    volumes = [mirelan.Volume.from_array(np.full((16, 64, 64), i, np.uint8)) for i in range(4)]
    counts = [0] * len(volumes)
    errors = []

    def work(i):
        def report(done, total, message):
            counts[i] += 1

        try:
            for _ in range(5):
                mirelan.invert(volumes[i], in_place=True, progress=report)
        except Exception as e:  # noqa: BLE001  (reported below)
            errors.append(e)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(len(volumes))]
    for t in threads:
        t.start()
    for t in threads:
        t.join(60)
    assert not errors and all(not t.is_alive() for t in threads)
    assert all(c >= 5 * 16 for c in counts)
    assert [int(np.asarray(v)[0, 0, 0]) for v in volumes] == [255 - i for i in range(4)]


LONG_WORK = {
    "median_filter": lambda v, p: mirelan.median_filter(v, 3, progress=p),
    "convolve": lambda v, p: mirelan.convolve(v, np.ones((3, 3, 3)), progress=p),
    "resample": lambda v, p: mirelan.resample(v, (16, 48, 48), progress=p),
    "rotate": lambda v, p: mirelan.rotate(v, 10.0, progress=p),
    "fft_filter": lambda v, p: mirelan.fft_filter(v, progress=p),
    "seed_threshold": lambda v, p: mirelan.seed_threshold(v, (0, 0, 0), "brighter", progress=p),
    "label": lambda v, p: mirelan.label(mirelan.Region.from_array(np.asarray(v) > 100), progress=p),
    "astype": lambda v, p: v.astype("float", progress=p),
}


@pytest.mark.parametrize("name", sorted(LONG_WORK))
def test_long_work_reports_and_cancels_without_deadlock(fast_progress, name):
    v = mirelan.Volume.from_array(np.random.default_rng(2).integers(0, 255, (16, 32, 32), dtype=np.uint8))
    calls = []

    def stop(done, total, message):
        calls.append(done)
        return False

    try:
        LONG_WORK[name](v, stop)
        assert not calls, "reported, was told to stop, and finished anyway"
    except mirelan.Cancelled:
        assert calls
    LONG_WORK[name](v, None)  # nothing is left cancelled


def test_python_threads_run_while_a_tool_works():
    # Without a callback the tool never takes the GIL back until it returns:
    # Python code on another thread keeps running all along.
    v = mirelan.Volume.from_array(np.random.default_rng(3).integers(0, 255, (24, 128, 128), dtype=np.uint8))
    running = threading.Event()
    ticks = []

    def work():
        running.set()
        for _ in range(5):
            mirelan.median_filter(v, 5)
        running.clear()

    worker = threading.Thread(target=work)
    worker.start()
    running.wait(10)
    while running.is_set():
        ticks.append(1)
        threading.Event().wait(0.001)
    worker.join(60)
    assert len(ticks) > 10
