// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "probe_case.h"
#include "report.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QRegularExpression>
#include <obs-frontend-api.h>
#include <obs-module.h>

namespace kalvio::probe {

namespace {

obs_module_t *kalvio_module()
{
	return obs_get_module("obs-kalvio");
}

QString module_text(const char *key)
{
	return QString::fromUtf8(obs_module_get_locale_text(kalvio_module(), key));
}

// The text that the module's locale file of `language` gives for `key`, read here without the host's help.
QString text_in_locale_file(const QString &language, const QString &key)
{
	const QString folder = QString::fromUtf8(obs_get_module_data_path(kalvio_module()));
	QFile file(folder + "/locale/" + language + ".ini");
	if (!file.open(QIODevice::ReadOnly))
		return {};
	const QRegularExpression line('^' + QRegularExpression::escape(key) + "\\s*=\\s*\"(.*)\"\\s*$",
				      QRegularExpression::MultilineOption);
	return line.match(QString::fromUtf8(file.readAll())).captured(1);
}

void module_introduces_itself()
{
	obs_module_t *const module = kalvio_module();
	if (!check(module, "OBS has loaded the module"))
		return;
	const auto same = [](const char *seen, const char *wanted, const QString &what) {
		check(qstrcmp(seen, wanted) == 0, what + " is \"" + wanted + '"', QString::fromUtf8(seen));
	};
	same(obs_get_module_name(module), "Kalvio", "the module's name");
	same(obs_get_module_author(module), "Kalvio", "the module's author");
	same(obs_get_module_description(module), "Kalvio beauty filter", "the module's description");
	check(obs_get_source_output_flags(filter_type) == OBS_SOURCE_VIDEO, "the filter is a plain video filter");
	check(obs_is_source_configurable(filter_type), "the filter has properties");
}

void host_texts_follow_language(const QString &language)
{
	for (const QString key : {"KalvioFilter", "Kalvio.PropertiesHint", "Kalvio.OpenPanel"}) {
		const QString wanted = text_in_locale_file(language, key);
		check(!wanted.isEmpty() && wanted != key, "the locale file has " + key, wanted);
		const QString seen = module_text(key.toUtf8().constData());
		check(seen == wanted, "OBS is told the text of " + key, seen);
	}
	const QString name = QString::fromUtf8(obs_source_get_display_name(filter_type));
	check(name == text_in_locale_file(language, "KalvioFilter"), "OBS's list of filters shows that name", name);
}

void host_texts_are_english()
{
	host_texts_follow_language("en-US");
}

void host_texts_are_german()
{
	host_texts_follow_language("de-DE");
}

void language_without_file_is_english()
{
	check(qstrcmp(obs_get_locale(), "fi-FI") == 0, "OBS speaks Finnish", QString::fromUtf8(obs_get_locale()));
	host_texts_follow_language("en-US");
}

QWidget *filter_dialog()
{
	for (QWidget *const window : QApplication::topLevelWidgets())
		if (window->objectName() == "OBSBasicFilters" && window->isVisible())
			return window;
	return nullptr;
}

template <typename Widget>
Widget *widget_with_text(QWidget *parent, const QString &text)
{
	for (Widget *const widget : parent->findChildren<Widget *>())
		if (widget->text() == text)
			return widget;
	return nullptr;
}

// Opens OBS's filter dialog and waits for our view in it; null, and a failed check, when it does not come.
QWidget *open_filter_dialog(obs_source_t *source)
{
	obs_frontend_open_source_filters(source);
	const bool opened = wait_until([] {
		QWidget *const dialog = filter_dialog();
		return dialog && widget_with_text<QAbstractButton>(dialog, module_text("Kalvio.OpenPanel"));
	});
	return check(opened, "OBS's filter dialog shows the filter's view") ? filter_dialog() : nullptr;
}

void properties_show_hint_and_button()
{
	const OBSSourceAutoRelease source = scene_source();
	QWidget *const dialog = open_filter_dialog(source);
	if (!dialog)
		return;
	const QLabel *const hint = widget_with_text<QLabel>(dialog, module_text("Kalvio.PropertiesHint"));
	check(hint, "the hint is shown");
	check(hint && !hint->wordWrap(), "the hint is one line");
	auto *const button = widget_with_text<QAbstractButton>(dialog, module_text("Kalvio.OpenPanel"));
	check(button->isVisible() && button->isEnabled(), "the button can be pressed");
	check(dialog->grab().save(output_file("properties.png")), "a picture of the dialog is kept");
	button->click();
	check_frames_are_processed();
	check(widget_with_text<QAbstractButton>(dialog, module_text("Kalvio.OpenPanel")) == button,
	      "pressing it does not rebuild the view");
	dialog->close();
	check(wait_until([] { return filter_dialog() == nullptr; }), "the dialog closes");
	check_filtered(source, "after the dialog");
}

void stored_hint_is_cleared()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	obs_data_set_string(settings, "panel_hint", "left over");
	QWidget *const dialog = open_filter_dialog(source);
	check(qstrcmp(obs_data_get_string(settings, "panel_hint"), "") == 0, "the stored hint is empty",
	      QString::fromUtf8(obs_data_get_string(settings, "panel_hint")));
	check(obs_data_get_double(settings, "whitening") > 0.0, "the other settings are as they were");
	if (dialog)
		dialog->close();
}

void quitting_with_dialog_open_is_clean()
{
	const OBSSourceAutoRelease source = scene_source();
	open_filter_dialog(source);
	check_frames_are_processed();
}

constexpr double saved_whitening = 0.37;

// So many frames show what the engine learns of a face: the skin's colors with "skin_only", the place of the points.
constexpr uint64_t learning_frames = 120;

void settings_are_changed_before_restart()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	set_setting(filter, "whitening", saved_whitening);
	set_setting(filter, "face_thin", -0.25);
	set_setting(filter, "skin_only", true);
	check_frames_are_processed(learning_frames);
	check(screenshot(source).save(output_file("before-restart.png")), "the picture is kept");
}

void settings_survive_restart()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	if (!check(filter, "the filter is there again"))
		return;
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	const auto same = [&](const char *key, double wanted) {
		const double seen = obs_data_get_double(settings, key);
		check(seen == wanted, QString("%1 is %2").arg(key).arg(wanted), QString::number(seen));
	};
	same("whitening", saved_whitening);
	same("face_thin", -0.25);
	same("filter_intensity", 0.5);
	check(obs_data_get_bool(settings, "skin_only"), "skin_only is true");
	check_frames_are_processed(learning_frames);
	const QImage before = QImage(output_file("before-restart.png")).convertToFormat(QImage::Format_RGBA8888);
	const int difference = largest_difference(before, screenshot(source));
	// No two runs have the same number of frames.
	check(difference <= 1, "the picture is that of before the restart", QString::number(difference));
}

void scene_collections_can_be_switched()
{
	char *const name = obs_frontend_get_current_scene_collection();
	const QByteArray first = name;
	bfree(name);
	check(obs_frontend_add_scene_collection("Second"), "a second collection is made");
	const QByteArray collections[] = {"Second", first};
	for (int round = 0; round < 6; ++round) {
		const QByteArray &wanted = collections[round % 2];
		if (round > 0)
			obs_frontend_set_current_scene_collection(wanted.constData());
		const bool has_filter = round % 2 != 0;
		check(wait_until([&] { return frame_count().engines == (has_filter ? 1U : 0U); }),
		      "the engines are those of the collection " + wanted, QString::number(frame_count().engines));
		const OBSSourceAutoRelease source = scene_source();
		check(source.Get() ? has_filter : !has_filter, "the sources are those of the collection " + wanted);
		if (has_filter) {
			check_frames_are_processed();
			check_filtered(source, "back in the first collection");
		} else {
			check_no_frames_are_processed(3);
		}
	}
	check(frame_count().engines_ever == 4, "each return makes a new engine",
	      QString::number(frame_count().engines_ever));
}

void one_frame_then_quit()
{
	check_frames_are_processed(1);
}

constexpr ProbeCase cases[] = {
	{"ModuleIntroducesItself", module_introduces_itself},
	{"HostTextsAreEnglish", host_texts_are_english},
	{"HostTextsAreGerman", host_texts_are_german},
	{"LanguageWithoutFileIsEnglish", language_without_file_is_english},
	{"PropertiesShowHintAndButton", properties_show_hint_and_button},
	{"StoredHintIsCleared", stored_hint_is_cleared},
	{"QuittingWithDialogOpenIsClean", quitting_with_dialog_open_is_clean},
	{"SettingsAreChangedBeforeRestart", settings_are_changed_before_restart},
	{"SettingsSurviveRestart", settings_survive_restart},
	{"SceneCollectionsCanBeSwitched", scene_collections_can_be_switched},
	{"OneFrameThenQuit", one_frame_then_quit},
};

} // namespace

std::span<const ProbeCase> host_cases()
{
	return cases;
}

} // namespace kalvio::probe
