# SPDX-License-Identifier: GPL-2.0-or-later
"""Judges a case: every fact that the probe stated, OBS's exit code and count of leaks, the module's last line."""

from obs_run import KILLED, call

TOLERANCE_MS = 1000  # for the noise of a busy machine; the limits of a request are ten times that and more


def judge_report(obs_run, phase):
    """Prints the facts; the phase must have come to its end, and every fact must hold."""
    assert obs_run.report, "the probe did not report: was it loaded?"
    facts = [line for line in obs_run.report if "fact" in line]
    for line in facts:
        print(("ok      " if line["ok"] else "FAILED  ") + line["fact"] + (line["seen"] and f" ({line['seen']})"))
    assert all(line["ok"] for line in facts), "a fact does not hold"
    assert any(line.get("finished") == phase.name for line in obs_run.report), "the phase did not come to its end"


def judge_end(obs_run, phase):
    if phase.kills:
        assert obs_run.code == KILLED, f"OBS was not killed but ended with code {obs_run.code}"
    else:
        assert call("obs_ended_cleanly", obs_run.work, obs_run.code) == 0, "OBS did not end as it should"


def test_case(obs_run):
    quit_ms = {}
    for phase in obs_run.case.phases:
        print("---", phase.name, phase.language, phase.look)
        obs_run.run(phase)
        obs_run.keep_look(phase.look)
        if obs_run.quit_ms:
            print(f"quitting took {obs_run.quit_ms:.0f} ms")
            quit_ms.setdefault(phase.name, []).append(obs_run.quit_ms)
        try:
            judge_report(obs_run, phase)
            judge_end(obs_run, phase)
        except AssertionError:
            print("--- the module's lines", *obs_run.log_of_module(), sep="\n")
            output = obs_run.work / "out/obs.txt"
            print(f"--- the end of OBS's output ({output})", *output.read_text().splitlines()[-15:], sep="\n")
            raise
    if "QuitWhileACheckHangs" in quit_ms:
        waited = min(quit_ms["QuitWhileACheckHangs"]) - min(quit_ms["QuitAfterACheck"])
        assert waited <= TOLERANCE_MS, "quitting waited for the check"
