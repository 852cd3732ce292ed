// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "log_tap.h"
#include "probe_case.h"
#include "report.h"
#include "update_server.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDockWidget>
#include <QFile>
#include <QJsonDocument>
#include <QLabel>
#include <QScrollArea>
#include <algorithm>
#include <ctime>
#include <obs-module.h>

namespace kalvio::probe {

namespace {

constexpr std::int64_t day_s = 86'400;
constexpr int polls_ms = 700; // a few of the panel's polls

constexpr const char *soft_frame = "updateSoft";
constexpr const char *forced_frame = "updateForce";
constexpr const char *page = "https://download.example/page?of=90.1.0";

void let_polls_pass()
{
	wait_until([] { return false; }, polls_ms);
}

// The server

// Waits for the check that OBS makes at its start.
void check_is_made_at_start(const char *latest, const char *force_below = "")
{
	check(wait_until([&] { return count_lines(LOG_INFO, line_of_check(latest, force_below)) == 1; }),
	      "the start of OBS checks for updates");
	let_polls_pass();
	const qsizetype requests = server_file("requests.txt").count(" GET /");
	check(requests == 1, "the server is asked once", QString::number(requests));
}

// Another manifest, and six hours later the check that learns of it.
void publish(const char *latest, const char *force_below = "")
{
	const std::string line = line_of_check(latest, force_below);
	const int before = count_lines(LOG_INFO, line);
	put_manifest_on_server({{"version", latest},
				{"force_below", force_below},
				{"notes", "Softer skin, faster start\nand much more"},
				{"download_page", page}});
	put_clock_forward(check_interval_s);
	check(wait_until([&] { return count_lines(LOG_INFO, line) == before + 1; }),
	      QString("six hours later OBS knows of %1").arg(latest));
	let_polls_pass();
}

// The panel

QWidget *panel()
{
	return main_window()->findChild<QDockWidget *>("kalvio");
}

// The notice, as long as it is shown in that form.
QWidget *notice(const char *frame)
{
	auto *const strip = panel()->findChild<QWidget *>(frame);
	return strip && strip->isVisible() ? strip : nullptr;
}

void check_no_notice(const QString &when)
{
	check(!notice(soft_frame) && !notice(forced_frame), "no notice is shown " + when);
}

// What a label says in full: where there is no room its text ends in an ellipsis.
QString full_text(const QLabel &label)
{
	return label.accessibleName().isEmpty() ? label.text() : label.accessibleName();
}

bool says(const QWidget &widget, const QString &text)
{
	for (const QLabel *label : widget.findChildren<QLabel *>())
		if (label->isVisible() && full_text(*label).contains(text))
			return true;
	return false;
}

void check_notice(const char *frame, const QString &title)
{
	const QWidget *const strip = notice(frame);
	if (check(strip, QString("the notice is shown as ") + frame))
		check(says(*strip, title), "its title is: " + title);
}

QAbstractButton *close_button(const char *frame)
{
	const QWidget *const strip = notice(frame);
	if (strip)
		for (QAbstractButton *const button : strip->findChildren<QAbstractButton *>())
			if (button->accessibleName() == "Dismiss")
				return button;
	return nullptr;
}

// Presses a button of the notice and states that the desktop is asked to open the page.
void check_button_opens_page(const char *frame, const char *button_name, const QString &caption)
{
	QWidget *const strip = notice(frame);
	auto *const button = strip ? strip->findChild<QAbstractButton *>(button_name) : nullptr;
	if (!check(button && button->isVisible(), "the notice has its button"))
		return;
	check(button->text() == caption, "the button says: " + caption, button->text());
	const qsizetype opened = server_file("opened.txt").count('\n');
	button->click();
	check(wait_until([&] { return server_file("opened.txt").count('\n') == opened + 1; }),
	      "pressing it opens one address");
	check(server_file("opened.txt").endsWith(QByteArray(page) + '\n'), "it is the manifest's page",
	      server_file("opened.txt").trimmed());
}

void keep_picture(const char *name)
{
	check(panel()->grab().save(output_file(name)), QString("a picture of the panel is kept: ") + name);
}

// The soft notice

QJsonObject stored_dismissal()
{
	char *const path = obs_module_get_config_path(obs_get_module("obs-kalvio"), "update_dismiss.json");
	QFile file(QString::fromUtf8(path));
	bfree(path);
	if (!file.open(QIODevice::ReadOnly))
		return {};
	return QJsonDocument::fromJson(file.readAll()).object();
}

void notice_is_put_away()
{
	check_is_made_at_start("0.0.1");
	check_no_notice("for the version that runs");

	publish("90.1.0");
	check_notice(soft_frame, "Update available 90.1.0");
	check(notice(soft_frame) && says(*notice(soft_frame), "Softer skin, faster start"), "it shows the notes");
	check_button_opens_page(soft_frame, "updateSoftBtn", "Download");
	check_frames_are_processed();
	keep_picture("soft.png");

	QAbstractButton *const close = close_button(soft_frame);
	if (!check(close && close->isVisible(), "the notice can be put away"))
		return;
	const std::int64_t earliest = std::time(nullptr) + day_s;
	close->click();
	check_no_notice("once it is put away");
	const QJsonObject stored = stored_dismissal();
	const auto until = static_cast<std::int64_t>(stored["until"].toDouble());
	check(stored["version"] == "90.1.0", "the version is remembered", stored["version"].toString());
	check(until >= earliest && until <= std::time(nullptr) + day_s, "it is remembered for one day",
	      QString::number(until - earliest));
	let_polls_pass();
	check_no_notice("some polls later");
}

void notice_stays_away_after_restart()
{
	check_is_made_at_start("90.1.0");
	check_no_notice("for the version that was put away");
	publish("90.2.0");
	check_notice(soft_frame, "Update available 90.2.0");
	publish("90.1.0");
	check_no_notice("for the version that was put away");
	put_clock_forward(day_s);
	check(wait_until([] { return notice(soft_frame) != nullptr; }), "a day later the notice comes back by itself");
	check_notice(soft_frame, "Update available 90.1.0");
}

// The forced state

void check_paused(obs_source_t *source)
{
	check_notice(forced_frame, "Update required 90.1.0");
	check(wait_until([] { return frame_count().engines == 0; }), "the filter gives its engine back",
	      QString::number(frame_count().engines));
	check_unfiltered(source, "paused");
	check_no_frames_are_processed();

	const QWidget *const strip = notice(forced_frame);
	check(strip && says(*strip, "Quit OBS, install the new build, then reopen."), "the notice says what to do");
	const QAbstractButton *const close = close_button(forced_frame);
	check(close && !close->isVisible(), "the notice cannot be put away");
	const auto *const hint = panel()->findChild<QWidget *>("banner");
	check(hint && hint->isVisible() && says(*hint, "Beauty effects are paused on this version."),
	      "the hint says that the effects are paused");
	const auto *const tabs = panel()->findChild<QWidget *>("tabBar");
	check(tabs && !tabs->isVisible(), "the tabs are hidden");
	const auto pages = panel()->findChildren<QScrollArea *>();
	check(pages.size() >= 7 && std::ranges::none_of(pages, &QWidget::isVisible), "the pages are hidden",
	      QString::number(pages.size()));
	const auto *const selector = panel()->findChild<QComboBox *>();
	check(selector && !selector->isEnabled(), "no source can be chosen");
}

void check_not_paused(obs_source_t *source, const QImage &before)
{
	check_no_notice("after the pause");
	check_frames_are_processed();
	check(frame_count().engines == 1, "the filter has an engine", QString::number(frame_count().engines));
	if (before.isNull()) {
		check_filtered(source, "after the pause");
	} else {
		const int difference = largest_difference(before, screenshot(source));
		check(difference == 0, "the picture is the one before the pause", QString::number(difference));
	}
	const auto *const hint = panel()->findChild<QWidget *>("banner");
	check(hint && !hint->isVisible(), "no hint is shown");
	const auto *const tabs = panel()->findChild<QWidget *>("tabBar");
	check(tabs && tabs->isVisible() && tabs->isEnabled(), "the tabs are back");
	const auto *const selector = panel()->findChild<QComboBox *>();
	check(selector && selector->isEnabled(), "a source can be chosen");
}

void forced_update_pauses_and_ends()
{
	const OBSSourceAutoRelease source = scene_source();
	check_is_made_at_start("0.0.1");
	check_frames_are_processed();
	check_filtered(source, "before the pause");
	const QImage before = screenshot(source);

	publish("90.1.0", "0.0.1");
	check_notice(soft_frame, "Update available 90.1.0");
	check_frames_are_processed();

	publish("90.1.0", "90.1.0");
	check_paused(source);
	check_button_opens_page(forced_frame, "updateForceBtn", "Update now");
	keep_picture("paused.png");

	publish("0.0.1");
	check_not_paused(source, before);
	keep_picture("after-the-pause.png");

	put_manifest_on_server({{"version", "90.1.0"}, {"force_below", "90.1.0"}});
}

void paused_state_is_found_at_start()
{
	const OBSSourceAutoRelease source = scene_source();
	check_is_made_at_start("90.1.0", "90.1.0");
	check_paused(source);
	publish("0.0.1");
	check_not_paused(source, {});
}

// The end of OBS

void quit_after_a_check()
{
	check_is_made_at_start("0.0.1");
}

void quit_while_a_check_hangs()
{
	check(wait_until([] { return server_file("requests.txt").contains(" GET /"); }),
	      "the server is asked for the manifest");
	let_polls_pass();
	const auto speaks_of_check = [](const LogLine &line) {
		return line.text.find("update check") != std::string::npos;
	};
	check(std::ranges::none_of(module_lines(), speaks_of_check), "the check is still under way");
}

constexpr ProbeCase cases[] = {
	{"NoticeIsPutAway", notice_is_put_away},
	{"NoticeStaysAwayAfterRestart", notice_stays_away_after_restart},
	{"ForcedUpdatePausesAndEnds", forced_update_pauses_and_ends},
	// The answer may come before the filter, which then begins without an engine and says so.
	{"PausedStateIsFoundAtStart", paused_state_is_found_at_start, true},
	{"QuitAfterACheck", quit_after_a_check},
	{"QuitWhileACheckHangs", quit_while_a_check_hangs},
};

} // namespace

std::span<const ProbeCase> update_cases()
{
	return cases;
}

} // namespace kalvio::probe
