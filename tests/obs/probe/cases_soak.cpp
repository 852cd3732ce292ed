// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "log_tap.h"
#include "probe_case.h"
#include "process_figures.h"
#include "report.h"
#include "test_clip.h"
#include "update_server.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>
#include <algorithm>
#include <obs-frontend-api.h>
#include <obs-module.h>
#include <random>
#include <string>
#include <util/profiler.h>
#include <vector>

// An evening on air in a real OBS, for as long as it is asked to (KALVIO_PROBE_SECONDS): cycles of all that happens to
// filters, each with the same steps, sampled at its end in the same state. Every sixth cycle takes the same steps
// without any filter: what OBS misses then is its own. scripts/soak runs it and judges the samples.
namespace kalvio::probe {

namespace {

constexpr int cycles_a_round = 6; // the first of them without filters
constexpr int sample_interval_ms = 1000;
constexpr int settings_changes = 40;
constexpr int passing_filters = 5;
constexpr int step_ms = 50;

constexpr const char *source_names[] = {"Soak picture", "Soak portrait", "Soak color", "Soak clip"};

// Everything on.
constexpr const char *all_effects = R"({"smoothing": 0.7, "whitening": 0.4, "rosiness": 0.2, "sharpening": 0.2,
	"face_thin": 0.3, "eye_size": 0.2, "lipstick": 0.5, "blush": 0.3, "eyeshadow": 0.3, "filter_id": "vivid",
	"sticker_id": "petals", "body_slim": 0.2, "bg_fill": 1, "bg_blur": 0.4, "skin_only": true})";

void pass(int milliseconds)
{
	wait_until([] { return false; }, milliseconds);
}

// --- The sources

OBSSourceAutoRelease find_source(const char *name)
{
	return obs_get_source_by_name(name);
}

void add_to_scene(const char *type, const char *name, obs_data_t *settings)
{
	const OBSSceneAutoRelease scene = current_scene();
	const OBSSourceAutoRelease source = obs_source_create(type, name, settings, nullptr);
	obs_scene_add(scene, source);
}

void add_picture(const char *name, const QImage &picture, const QString &file)
{
	check(picture.save(output_file(file)), "a picture is written");
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_string(settings, "file", output_file(file).toUtf8().constData());
	add_to_scene("image_source", name, settings);
}

// No reference to a source is kept beyond a step: OBS complains about it when it changes collections.
void add_sources()
{
	const QImage portrait = source_file_picture().scaledToWidth(240, Qt::SmoothTransformation);
	add_picture(source_names[0], portrait.mirrored(true, false), "soak-picture.png");
	add_picture(source_names[1], portrait, "soak-portrait.png");
	const OBSDataAutoRelease color = obs_data_create();
	obs_data_set_int(color, "width", 160);
	obs_data_set_int(color, "height", 90);
	add_to_scene("color_source", source_names[2], color);
	check(write_test_clip(output_file("soak.y4m"), portrait.copy(0, 0, 160, 90), 30), "the clip is written");
	const OBSDataAutoRelease clip = obs_data_create();
	obs_data_set_string(clip, "local_file", output_file("soak.y4m").toUtf8().constData());
	obs_data_set_bool(clip, "is_local_file", true);
	obs_data_set_bool(clip, "looping", true);
	add_to_scene("ffmpeg_source", source_names[3], clip);
}

OBSSourceAutoRelease add_full_filter(obs_source_t *source, const char *name)
{
	const OBSDataAutoRelease settings = obs_data_create_from_json(all_effects);
	OBSSourceAutoRelease filter = obs_source_create(filter_type, name, settings, nullptr);
	obs_source_filter_add(source, filter);
	return filter;
}

void remove_filters(obs_source_t *source)
{
	while (const OBSSourceAutoRelease filter = kalvio_filter_of(source))
		obs_source_filter_remove(source, filter);
}

// The run begins with a filter on its only source, and no cycle has that one.
void remove_first_filter()
{
	const OBSSourceAutoRelease source = scene_source();
	remove_filters(source);
}

// All four sources with one filter, or with none.
void set_filters(bool are_on)
{
	for (const char *name : source_names) {
		const OBSSourceAutoRelease source = find_source(name);
		const OBSSourceAutoRelease filter = kalvio_filter_of(source);
		if (!are_on)
			remove_filters(source);
		else if (!filter)
			add_full_filter(source, "Soak");
	}
}

// --- The cycle

class Soak {
public:
	// Counts what did not come as it should.
	int failures() const { return failures_; }

	void run_cycle(bool has_filters)
	{
		has_filters_ = has_filters;
		set_filters(has_filters);
		expect_engines(wanted(), "the cycle begins");
		change_settings();
		let_filters_pass();
		take_bundle_away();
		force_update();
		switch_collections();
		pass(sample_interval_ms);
		expect_engines(wanted(), "the cycle ends");
	}

private:
	uint64_t wanted() const { return has_filters_ ? std::size(source_names) : 0; }

	void expect(bool ok, const QString &what)
	{
		if (ok)
			return;
		failures_++;
		check(false, what);
	}

	void expect_engines(uint64_t count, const QString &when)
	{
		expect(wait_until([count] { return frame_count().engines == count; }),
		       "the engines are those of the filters: " + when);
	}

	double random_01() { return static_cast<double>(random_() % 1000) / 1000.0; }

	void change_settings()
	{
		for (int i = 0; i < settings_changes; ++i) {
			for (const char *name : source_names) {
				const OBSSourceAutoRelease source = find_source(name);
				if (const OBSSourceAutoRelease filter = kalvio_filter_of(source)) {
					set_setting(filter, "smoothing", random_01());
					set_setting(filter, "face_thin", random_01() - 0.5);
					set_setting(filter, "bg_blur", random_01());
				}
			}
			pass(step_ms);
		}
	}

	void let_filters_pass()
	{
		for (int i = 0; i < passing_filters; ++i) {
			const OBSSourceAutoRelease source =
				find_source(source_names[random_() % std::size(source_names)]);
			OBSSourceAutoRelease filter = has_filters_ ? add_full_filter(source, "Passing") : nullptr;
			pass(2 * step_ms);
			if (filter)
				obs_source_filter_remove(source, filter);
			pass(step_ms);
		}
		expect_engines(wanted(), "after those that passed");
	}

	// A filter that is made meanwhile shows its source, and has its engine as soon as the bundle is back.
	void take_bundle_away()
	{
		const QString data = QString::fromUtf8(obs_get_module_data_path(obs_get_module("obs-kalvio")));
		const QString bundle = data + "/resource.kld";
		expect(QFile::rename(bundle, bundle + ".away"), "the bundle is taken away");
		const OBSSourceAutoRelease source = find_source(source_names[0]);
		remove_filters(source);
		if (has_filters_)
			add_full_filter(source, "Soak");
		pass(4 * step_ms);
		expect_engines(has_filters_ ? wanted() - 1 : 0, "without the bundle");
		expect(QFile::rename(bundle + ".away", bundle), "the bundle is put back");
		expect_engines(wanted(), "with the bundle again");
	}

	// Each check is six hours after the last one by the module's clock.
	void publish(const char *latest, const char *force_below)
	{
		const std::string line = line_of_check(latest, force_below);
		const int before = count_lines(LOG_INFO, line);
		put_manifest_on_server({{"version", latest}, {"force_below", force_below}});
		put_clock_forward(check_interval_s);
		expect(wait_until([&] { return count_lines(LOG_INFO, line) > before; }), "the check is made");
	}

	void force_update()
	{
		publish("90.1.0", "90.1.0");
		expect_engines(0, "an update is forced");
		publish("0.0.1", "");
		expect_engines(wanted(), "no update is forced any more");
	}

	void switch_collections()
	{
		char *const name = obs_frontend_get_current_scene_collection();
		const QByteArray first = name;
		bfree(name);
		if (is_second_made_)
			obs_frontend_set_current_scene_collection("Soak second");
		else
			is_second_made_ = obs_frontend_add_scene_collection("Soak second");
		expect_engines(0, "in another collection");
		pass(4 * step_ms);
		obs_frontend_set_current_scene_collection(first.constData());
		expect_engines(wanted(), "back in the collection");
	}

	bool has_filters_ = false;
	bool is_second_made_ = false;
	int failures_ = 0;
	std::mt19937 random_{1};
};

QJsonObject line_of(const QElapsedTimer &time, const QString &kind, int cycle)
{
	QJsonObject line = as_json(process_figures());
	const FrameCount frames = frame_count();
	line["soak"] = kind;
	line["seconds"] = static_cast<double>(time.elapsed()) / 1000.0;
	line["cycle"] = cycle;
	line["processed"] = static_cast<qint64>(frames.processed);
	line["failed_frames"] = static_cast<qint64>(frames.failed);
	return line;
}

void soak_stays_flat()
{
	// OBS's own profiler keeps a number for each duration that it has not seen before: hours of it grow by
	// megabytes.
	profiler_stop();
	add_sources();
	remove_first_filter();
	const double seconds = std::max(setting("KALVIO_PROBE_SECONDS").toInt(), 30);
	QElapsedTimer time;
	time.start();
	int cycle = 0;
	QTimer sampler;
	QObject::connect(&sampler, &QTimer::timeout, &sampler, [&] { report(line_of(time, "sample", cycle)); });
	sampler.start(sample_interval_ms);

	Soak soak;
	const auto is_over = [&] {
		return static_cast<double>(time.elapsed()) / 1000.0 >= seconds;
	};
	for (; !is_over() && soak.failures() == 0; ++cycle) {
		const bool has_filters = cycle % cycles_a_round != 0;
		report(line_of(time, has_filters ? "begin" : "begin without", cycle));
		soak.run_cycle(has_filters);
		give_back_free_memory();
		report(line_of(time, has_filters ? "end" : "end without", cycle));
	}
	sampler.stop();
	check(frame_count().failed == 0, "no frame failed", QString::number(frame_count().failed));
	check(soak.failures() == 0, "everything came as it should", QString::number(soak.failures()));
	check(cycle > 2, "there were cycles", QString::number(cycle));
	set_filters(false);
	check(wait_until([] { return frame_count().engines == 0; }), "no engine is left");
}

constexpr ProbeCase cases[] = {
	{"SoakStaysFlat", soak_stays_flat, true},
};

} // namespace

std::span<const ProbeCase> soak_cases()
{
	return cases;
}

} // namespace kalvio::probe
