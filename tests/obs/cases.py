# SPDX-License-Identifier: GPL-2.0-or-later
"""What each case of the probe module starts from, where that is not what most of them start from.

The list of cases that are tests is in CMakeLists.txt. SliderDragDropsNoFrame is none: it takes two minutes
(KALVIO_PROBE_SECONDS=5: a few seconds) and a machine that does nothing else. FortyFiltersAreMeasured is none either: it
only prints figures. KALVIO_PROBE_REMOVALS=10000 makes FilterIsRemovedOnAir that long (minutes).
"""

import dataclasses
import os

SCENE_SETTINGS = {"smoothing": 0.8, "whitening": 0.8}
UPDATE = {"version": "90.1.0", "notes": "Softer skin, faster start"}
FORCED_UPDATE = {"version": "90.1.0", "force_below": "90.1.0"}


@dataclasses.dataclass(frozen=True)
class Phase:
    """One run of OBS; those of a case have the same profile one after the other."""

    name: str  # what the probe does
    language: str = "en-US"
    look: str = ""  # a theme and a font size (obs_write_look); empty: as OBS comes
    manifest: dict | None = None  # what the download server has from then on
    answer: str = ""  # and how it answers (scripts/manifest-server --answer)
    kills: bool = False  # OBS is ended by SIGKILL


@dataclasses.dataclass(frozen=True)
class Case:
    """A profile with one scene, whose source shows a picture through one filter, and what happens there."""

    phases: tuple[Phase, ...]
    canvas: tuple[int, int] = (640, 360)
    source_name: str = "Picture"
    asset: str = "tests/obs/assets/picture.png"
    picture: str = "picture.png"  # the name of the asset's copy, which the source shows
    scene_file: str = ""  # what it shows instead
    settings: dict = dataclasses.field(default_factory=SCENE_SETTINGS.copy)  # of the filter
    preferences: dict | None = None  # of the panel
    bundle: str = "whole"  # or missing, or cut
    has_server: bool = False  # whether there is a download server
    has_font: bool = False  # whether there is one with the East Asian glyphs
    seconds: int = 150  # at most, for each phase


def named(*names, **phase):
    """Phases that differ in what the probe does."""
    return tuple(Phase(name, **phase) for name in names)


LANGUAGES = ("en-US", "zh-CN", "zh-TW", "ja-JP", "ko-KR", "pt-BR", "es-ES", "de-DE")
LOOKS = ("dark", "light", "dark-8", "dark-12", "light-12")

# The fields in which a case differs; "phases" where it is not one with the name of the case.
CASES = {
    "HostTextsAreGerman": {"phases": named("HostTextsAreGerman", language="de-DE")},
    "LanguageWithoutFileIsEnglish": {"phases": named("LanguageWithoutFileIsEnglish", language="fi-FI")},
    "NonAsciiNamesWork": {
        "source_name": 'K\u00e4se \u753b\u50cf "x" \U0001f4f7',
        "picture": "Bild \u00e4 \u753b\u50cf '1' \"2\".png",
    },
    "ShapeSliderChangesTheNextFrame": {
        "asset": "scripts/assets/portrait.png",
        "canvas": (1280, 720),
        "settings": {"face_thin": 0.1},
    },
    "MissingPictureIsSurvived": {"scene_file": "/nowhere/picture.png"},
    "MissingBundleIsSurvived": {"bundle": "missing"},
    "BrokenBundleIsSurvived": {"bundle": "cut"},
    "PanelFollowsTheSourcesDock": {"preferences": {"follow_sources": True}},
    "DockStaysHiddenWhenUnwanted": {"preferences": {"open_on_startup": False}},
    "DockKeepsItsPlace": {
        "phases": named(
            "DockGoesLeft",
            "DockIsLeftAndFloats",
            "DockFloatsAndGoesBelow",
            "DockIsBelowAndGoesUp",
            "DockIsAtTheTopFloatsAndDocks",
            "DockIsRightAfterFloating",
        )
    },
    "PropertiesAreCentered": {
        "phases": tuple(Phase("PropertiesAreCentered", language=language) for language in LANGUAGES)
    },
    "ControlsHaveTheirSizes": {"phases": tuple(Phase("ControlsHaveTheirSizes", look=look) for look in LOOKS)},
    "SwitchedCollectionsKeepTheirValues": {"preferences": {"apply_global": True}},
    "DuplicatedCollectionKeepsItsValues": {"preferences": {"apply_global": True, "open_on_startup": False}},
    "HotkeysAreKept": {"phases": named("HotkeysAreBoundAndWork", "HotkeysAreThereAfterRestart")},
    "KilledObsKeepsTheValue": {
        "phases": (Phase("MovedSliderIsSavedAndObsIsKilled", kills=True), Phase("ValueIsThereAfterTheKill"))
    },
    "SliderDragDropsNoFrame": {"preferences": {"apply_global": True}},
    "FortyFiltersAreMeasured": {"preferences": {"apply_global": True}},
    "FilterIsRemovedOnAir": {"seconds": 1500 if os.environ.get("KALVIO_PROBE_REMOVALS") else 150},
    "SettingsSurviveRestart": {"phases": named("SettingsAreChangedBeforeRestart", "SettingsSurviveRestart")},
    "DismissedNoticeStaysAway": {
        "phases": named("NoticeIsPutAway", "NoticeStaysAwayAfterRestart"),
        "has_server": True,
    },
    "ForcedUpdatePausesFilters": {
        "phases": named("ForcedUpdatePausesAndEnds", "PausedStateIsFoundAtStart"),
        "has_server": True,
    },
    "QuittingWaitsForNoCheck": {
        "phases": 2
        * (
            Phase("QuitAfterACheck", answer="/kalvio/obs/latest.json"),
            Phase("QuitWhileACheckHangs", answer="/stall-before-header"),
        ),
        "has_server": True,
    },
    "TwentyStartsAndQuitsAreClean": {"phases": 20 * named("OneFrameThenQuit")},
    # For scripts/screenshots: nothing is judged but that the pictures are there.
    "GrabPanel": {
        "phases": tuple(
            Phase(
                name,
                language=os.environ.get("KALVIO_LANGUAGE", "en-US"),
                look=os.environ.get("KALVIO_LOOK", "dark"),
                manifest=manifest,
            )
            for name, manifest in (("GrabPages", None), ("GrabNotice", UPDATE), ("GrabPausedPanel", FORCED_UPDATE))
        ),
        "source_name": "Camera",
        "settings": {
            "smoothing": 0.62,
            "whitening": 0.3,
            "rosiness": 0.18,
            "face_thin": 0.35,
            "chin": -0.2,
            "eye_size": 0.4,
            "lipstick": 0.55,
            "lipstick_color": 2,
            "blush": 0.25,
            "filter_id": "milk_tea",
            "sticker_id": "butterfly",
            "body_slim": 0.2,
            "bg_fill": 1,
            "bg_blur": 0.5,
            "chroma": 1,
        },
        "has_server": True,
        "has_font": True,
    },
}


def case_of(name):
    """The case of this name; one that is not in the table differs in nothing."""
    return Case(**{"phases": named(name), **CASES.get(name, {})})
