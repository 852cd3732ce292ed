# SPDX-License-Identifier: GPL-2.0-or-later
"""A real OBS with the probe module in it: what it starts from, and what came of it."""

import json
import os
import pathlib
import shutil
import subprocess
import time

from cases import case_of

ROOT = pathlib.Path(__file__).resolve().parents[2]
KILLED = 137  # the code of a shell whose command was ended by SIGKILL
FONT = pathlib.Path("/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc")


def call(function, *arguments):
    """The exit code of a function of scripts/lib; what it prints is what this process prints."""
    command = [ROOT / "scripts/lib/call", function, *arguments]
    done = subprocess.run([str(word) for word in command], text=True, capture_output=True, check=False)
    print(done.stdout + done.stderr, end="")
    return done.returncode


def made(function, *arguments):
    """Calls a function that must not fail."""
    assert call(function, *arguments) == 0, f"{function} failed"


class ObsRun:
    """The folder of one case: a profile, a scene and the module as a user installs it; and the runs of OBS there."""

    def __init__(self, host, name, build):
        self.host = host
        self.build = build
        self.case = case_of(name)
        self.work = build / "tests/obs/runs" / host / name
        self.seen = pathlib.Path("/kalvio/work")  # the folder as OBS sees it
        self.report = []  # what the probe reported in the last phase
        self.code = 0  # OBS's exit code of the last phase
        self.quit_ms = 0  # from closing OBS to the end of its process
        self._language = ""

        shutil.rmtree(self.work, ignore_errors=True)
        (self.work / "input").mkdir(parents=True)
        shutil.copy(ROOT / self.case.asset, self.work / "input" / self.case.picture)
        self._write_profile(self.case.phases[0])
        self._write_scene()
        made("obs_install_plugin", self.work, build / "plugins/obs-kalvio")
        made("probe_install", self.work, build)
        self._write_preferences()
        self._spoil_bundle()
        if self.case.has_server:
            made("probe_make_server", self.work, build)
        if self.case.has_font:
            (self.work / "data/fonts").mkdir(parents=True)
            shutil.copy(FONT, self.work / "data/fonts")

    @property
    def picture(self):
        """The picture's path as OBS sees it."""
        return self.seen / "input" / self.case.picture

    def run(self, phase):
        """Runs OBS until it ends; fills in `report`, `code` and `quit_ms`."""
        if phase.look or phase.language != self._language:
            self._write_profile(phase)
        if phase.manifest:
            (self.work / "server/latest.json").write_text(json.dumps(phase.manifest))
        if phase.answer:
            (self.work / "server/answer").write_text(phase.answer)
        reported = self.work / "out/report.jsonl"
        reported.unlink(missing_ok=True)
        variables = {
            "SOURCE": self.case.source_name,
            "LANGUAGE": phase.language,
            "SECONDS": os.environ.get("KALVIO_PROBE_SECONDS", "60"),
            "REMOVALS": os.environ.get("KALVIO_PROBE_REMOVALS", ""),
            "PICTURE": self.picture,
            "SETTINGS": json.dumps(self.case.settings),
            "BUNDLE": self.seen / "input/resource.kld",
            "SERVER": self.seen / "server",
        }
        words = [f"KALVIO_PROBE_{name}={value}" for name, value in variables.items()]
        self.code = call("probe_run", self.host, self.work, phase.name, self.case.seconds, *words)
        ended_ms = time.time() * 1000
        self.report = [json.loads(line) for line in reported.read_text().splitlines()] if reported.exists() else []
        self.quit_ms = min((ended_ms - line["closing_ms"] for line in self.report if "closing_ms" in line), default=0)

    def keep_look(self, look):
        """Keeps the style sheet and the palette that the probe found, for the tests of the panel without OBS."""
        folder = self.build / "tests/obs/looks"
        for kind in ("qss", "json", "png"):
            found = self.work / f"out/look.{kind}"
            if found.exists():
                folder.mkdir(parents=True, exist_ok=True)
                shutil.move(found, folder / f"{self.host}-{look}.{kind}")

    def log_of_module(self):
        """What the module logged in the last phase, each line once."""
        logs = sorted((self.work / "config/obs-studio/logs").glob("*.txt"))
        lines = logs[-1].read_text(errors="replace").splitlines() if logs else []
        return sorted({line[line.index("[Kalvio]") :] for line in lines if "[Kalvio]" in line})

    def _write_profile(self, phase):
        self._language = phase.language
        made("obs_write_profile", self.host, self.work, *self.case.canvas, phase.language)
        if phase.look:
            made("obs_write_look", self.work, phase.look)

    def _write_scene(self):
        filters = [{"id": "kalvio_filter", "name": "Kalvio", "enabled": True, "settings": self.case.settings}]
        shown = self.case.scene_file or self.picture
        made("obs_write_scene", self.work, self.case.source_name, shown, *self.case.canvas, json.dumps(filters))

    def _write_preferences(self):
        if self.case.preferences:
            folder = self.work / "config/obs-studio/plugin_config/obs-kalvio"
            folder.mkdir(parents=True)
            (folder / "ui.json").write_text(json.dumps(self.case.preferences))

    def _spoil_bundle(self):
        bundle = self.work / "config/obs-studio/plugins/obs-kalvio/data/resource.kld"
        if self.case.bundle == "missing":
            bundle.rename(self.work / "input/resource.kld")
        elif self.case.bundle == "cut":
            bundle.write_bytes(bundle.read_bytes()[:100])
