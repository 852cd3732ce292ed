// SPDX-License-Identifier: GPL-2.0-or-later
#include "comparison.h"
#include "kit/heap_probe.h"
#include "kit/log_capture.h"
#include "panel/panel_world.h"
#include "panel/text/translations.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/smooth_button.h"
#include "params/effect_catalog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QButtonGroup>
#include <QComboBox>
#include <QImageReader>
#include <QLabel>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSlider>
#include <QStackedWidget>
#include <benchmark/benchmark.h>
#include <filter/filter_registry.h>
#include <mutex>
#include <obs.hpp>
#include <unordered_map>
#include <variant>

// What the panel costs the user-interface thread, beside the least that the same work can cost: a floor that is written
// here against the host and the toolkit alone, with none of the panel's code in it. Filters and registry are the real
// ones; host and engine are doubles that do next to nothing.
//
// Behind Google Benchmark's table stand the figures that count: both sides measured in turns, in the processor time of
// this thread, as the median of each side. With --check the program fails when a bar is missed.
namespace {

using namespace kalvio;
using namespace kalvio::test;

constexpr double bar = 1.5; // times the floor

// A panel over this many filters, without records and without an engine's work.
class BenchWorld {
public:
	explicit BenchWorld(int filters)
	{
		set_engine_script({.idle = true});
		for (int i = 0; i < filters; ++i)
			sources.push_back(&world.add_filter("Camera " + std::to_string(i)));
		world.open_panel();
		if (filters > 1)
			ui_preferences().apply_global = true;
		world.poll();
		call_journal().set_enabled(false);
		host_double().set_cheap(true);
	}
	~BenchWorld()
	{
		host_double().set_cheap(false);
		call_journal().set_enabled(true);
	}
	BenchWorld(const BenchWorld &) = delete;
	BenchWorld &operator=(const BenchWorld &) = delete;

	PanelWorld world;
	std::vector<FakeSource *> sources;
};

// One turn of some work; it owns what it works on.
using Work = std::function<void()>;

// --- A step of a slider, until the settings stand in every filter

Work slider_step(BenchWorld &bench)
{
	auto *slider = bench.world.page(SkinPage).findChild<QSlider *>();
	return [slider] {
		slider->setValue((slider->value() + 1) % 101);
	};
}

// The slider's own move, and the host's update of each filter with such settings, which are a new object each time.
class SliderStepFloor {
public:
	explicit SliderStepFloor(BenchWorld &bench) : sources_(bench.sources)
	{
		const OBSDataAutoRelease set = obs_data_create();
		write_parameters(ParameterSet(), set);
		for (obs_data_item_t *item = obs_data_first(set); item; obs_data_item_next(&item))
			values_.push_back(value_of(item));
	}

	void run()
	{
		slider_->setValue((slider_->value() + 1) % 101);
		const OBSDataAutoRelease settings = obs_data_create();
		for (const Value &value : values_)
			value.write(settings);
		obs_data_set_double(settings, "smoothing", slider_->value() / 100.0);
		for (FakeSource *source : sources_)
			source->update(settings);
	}

private:
	struct Value {
		std::string key;
		std::variant<bool, long long, double, std::string> value;

		void write(obs_data_t *settings) const
		{
			if (const auto *flag = std::get_if<bool>(&value))
				obs_data_set_bool(settings, key.c_str(), *flag);
			else if (const auto *choice = std::get_if<long long>(&value))
				obs_data_set_int(settings, key.c_str(), *choice);
			else if (const auto *strength = std::get_if<double>(&value))
				obs_data_set_double(settings, key.c_str(), *strength);
			else
				obs_data_set_string(settings, key.c_str(), std::get<std::string>(value).c_str());
		}
	};

	static Value value_of(obs_data_item_t *item)
	{
		const char *key = obs_data_item_get_name(item);
		switch (obs_data_item_gettype(item)) {
		case OBS_DATA_BOOLEAN:
			return {key, obs_data_item_get_bool(item)};
		case OBS_DATA_STRING:
			return {key, std::string(obs_data_item_get_string(item))};
		default:
			if (obs_data_item_numtype(item) == OBS_DATA_NUM_INT)
				return {key, obs_data_item_get_int(item)};
			return {key, obs_data_item_get_double(item)};
		}
	}

	std::unique_ptr<QSlider> slider_ = std::make_unique<QSlider>();
	std::vector<FakeSource *> sources_;
	std::vector<Value> values_;
};

Work slider_step_floor(BenchWorld &bench)
{
	return [floor = std::make_shared<SliderStepFloor>(bench)] {
		floor->run();
	};
}

// --- A text looked up

Work translation(BenchWorld &)
{
	set_language(LanguageGerman);
	return [] {
		benchmark::DoNotOptimize(translate("reshape.browDistance"));
	};
}

// A map of as many keys as the panel has, of such a length.
class TextMap {
public:
	TextMap()
	{
		for (int i = 0; i < 277; ++i)
			keys_.push_back("reshape.someSlider" + std::to_string(i));
		for (const std::string &key : keys_)
			map_.emplace(key, key.c_str());
	}

	const char *find(const char *key) const
	{
		benchmark::DoNotOptimize(key);
		return map_.find(key)->second;
	}

private:
	std::vector<std::string> keys_;
	std::unordered_map<std::string_view, const char *> map_;
};

Work translation_floor(BenchWorld &)
{
	return [texts = std::make_shared<TextMap>()] {
		benchmark::DoNotOptimize(texts->find("reshape.someSlider99"));
	};
}

// --- One turn of the panel's timer while nothing happens

Work idle_poll(BenchWorld &bench)
{
	return [&bench] {
		bench.world.poll();
	};
}

// One look at the name of each filter's source, which is what can change without anybody being told, and which is read
// with a reference, for the source may go meanwhile; the question to the update service, whose answer comes by value;
// and the text of the status.
class IdlePollFloor {
public:
	explicit IdlePollFloor(BenchWorld &bench)
	{
		for (FakeSource *source : bench.sources)
			known_.push_back({obs_source_get_weak_source(source->parent.load()->handle()),
					  source->parent.load()->name});
	}

	void run()
	{
		const std::lock_guard lock(mutex_);
		bool is_same = true;
		for (const Known &entry : known_) {
			const OBSSourceAutoRelease source = obs_weak_source_get_source(entry.source);
			is_same &= entry.name == obs_source_get_name(source);
		}
		benchmark::DoNotOptimize(is_same);
		const UpdateStatus update = update_status();
		benchmark::DoNotOptimize(&update);
		status_ = texts_.find("reshape.someSlider99");
	}

private:
	struct Known {
		OBSWeakSourceAutoRelease source;
		std::string name;
	};
	std::vector<Known> known_;
	std::mutex mutex_;
	TextMap texts_;
	std::string status_;
};

Work idle_poll_floor(BenchWorld &bench)
{
	return [floor = std::make_shared<IdlePollFloor>(bench)] {
		floor->run();
	};
}

// --- The panel made

Work construction(BenchWorld &)
{
	return [] {
		const KalvioPanel panel;
		benchmark::DoNotOptimize(&panel);
	};
}

// The same kind of widget with the same text and picture, and nothing bound to it.
QWidget *bare_copy(const QWidget &original, QWidget *parent)
{
	if (const auto *label = qobject_cast<const QLabel *>(&original)) {
		auto *copy = new QLabel(label->text(), parent);
		if (!label->pixmap(Qt::ReturnByValue).isNull())
			copy->setPixmap(label->pixmap(Qt::ReturnByValue));
		return copy;
	}
	if (qobject_cast<const QSlider *>(&original)) {
		auto *copy = new QSlider(Qt::Horizontal, parent);
		copy->setStyle(QApplication::style());
		return copy;
	}
	if (const auto *button = qobject_cast<const QAbstractButton *>(&original)) {
		auto *copy =
			qobject_cast<const SmoothButton *>(button) ? new SmoothButton(parent) : new QPushButton(parent);
		copy->setText(button->text());
		copy->setIcon(button->icon());
		copy->setCheckable(button->isCheckable());
		copy->setCursor(button->cursor());
		copy->setAccessibleName(button->accessibleName());
		return copy;
	}
	if (qobject_cast<const QComboBox *>(&original))
		return new QComboBox(parent);
	if (qobject_cast<const QScrollArea *>(&original))
		return new QScrollArea(parent);
	if (qobject_cast<const QStackedWidget *>(&original))
		return new QStackedWidget(parent);
	return qobject_cast<const QFrame *>(&original) ? new QFrame(parent) : new QWidget(parent);
}

void copy_bare_tree(const QWidget &original, QWidget &copy)
{
	copy.setObjectName(original.objectName());
	if (!original.styleSheet().isEmpty())
		copy.setStyleSheet(original.styleSheet());
	// Composite widgets of Qt make their own children.
	if (qobject_cast<const QComboBox *>(&original))
		return;
	if (const auto *area = qobject_cast<const QScrollArea *>(&original)) {
		auto &area_copy = static_cast<QScrollArea &>(copy);
		auto *content = new QWidget(area_copy.viewport());
		area_copy.setWidgetResizable(true);
		area_copy.setWidget(content);
		copy_bare_tree(*area->widget(), *content);
		return;
	}
	const auto children = original.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
	if (children.isEmpty())
		return;
	auto *stack = qobject_cast<QStackedWidget *>(&copy);
	auto *layout = stack ? nullptr : new QVBoxLayout(&copy);
	for (const QWidget *child : children) {
		QWidget *child_copy = bare_copy(*child, &copy);
		if (stack)
			stack->addWidget(child_copy);
		else
			layout->addWidget(child_copy);
		copy_bare_tree(*child, *child_copy);
	}
}

// The thumbnails of the backgrounds have to be read from their files in any case.
void read_thumbnails(std::vector<QImage> &thumbnails)
{
	thumbnails.clear();
	for (const BackgroundPreset &preset : background_presets) {
		QImageReader reader(QString::fromStdString(background_preset_path(preset.id)));
		reader.setScaledSize({96, 54});
		thumbnails.push_back(reader.read());
	}
}

Work construction_floor(BenchWorld &bench)
{
	return [&bench, thumbnails = std::make_shared<std::vector<QImage>>()] {
		QWidget root;
		read_thumbnails(*thumbnails);
		copy_bare_tree(bench.world.panel(), root);
		benchmark::DoNotOptimize(&root);
	};
}

// --- Every control brought up to date, when another filter with other values has been chosen

Work full_refresh(BenchWorld &bench)
{
	return [&bench, odd = false]() mutable {
		odd = !odd;
		ParameterSet &set = panel_model().parameters;
		set.reshape.fill(odd ? 0.25f : -0.25f);
		set.body.fill(odd ? 0.25f : 0.5f);
		set.skin.smoothing_style =
			odd ? beauty_params::SmoothingStyle::Smooth : beauty_params::SmoothingStyle::Natural;
		set.filter.id = odd ? "rose" : "vivid";
		bench.world.panel().refreshControls();
	};
}

// The widgets that then show something else, and no others, told their values.
Work full_refresh_floor(BenchWorld &bench)
{
	struct Told {
		QSlider *slider;
		QLabel *label;
		int odd_value;
		int even_value;
	};
	auto told = std::make_shared<std::vector<Told>>();
	for (const int page : {ReshapePage, BodyPage}) {
		for (auto *slider : bench.world.page(page).findChildren<QSlider *>())
			told->push_back({slider, slider->parentWidget()->findChildren<QLabel *>().back(), 25,
					 page == BodyPage ? 50 : -25});
	}
	QButtonGroup *styles = bench.world.page(SkinPage).findChild<QButtonGroup *>();
	const auto tiles = bench.world.page(FilterPage).findChild<QButtonGroup *>()->buttons();
	return [told, styles, tiles, odd = false]() mutable {
		odd = !odd;
		for (const Told &entry : *told) {
			const int value = odd ? entry.odd_value : entry.even_value;
			const QSignalBlocker blocker(entry.slider);
			entry.slider->setValue(value);
			entry.label->setText(QString::number(value));
		}
		styles->button(odd ? 2 : 0)->setChecked(true);
		tiles.at(odd ? 5 : 3)->setChecked(true);
	};
}

// --- The measurements

struct Measurement {
	const char *name;
	Work (*work)(BenchWorld &);
	Work (*floor)(BenchWorld &);
	int filters;
	int runs; // to a sample
};

constexpr Measurement measurements[] = {
	{"slider step, 1 filter", slider_step, slider_step_floor, 1, 20},
	{"slider step, 40 filters", slider_step, slider_step_floor, 40, 1},
	{"idle poll, 1 filter", idle_poll, idle_poll_floor, 1, 20000},
	{"idle poll, 40 filters", idle_poll, idle_poll_floor, 40, 2000},
	{"idle poll, 1000 filters", idle_poll, idle_poll_floor, 1000, 100},
	{"construction", construction, construction_floor, 1, 1},
	{"full refresh", full_refresh, full_refresh_floor, 1, 50},
	{"translation", translation, translation_floor, 1, 50000},
};

void register_benchmarks()
{
	for (const Measurement &measurement : measurements) {
		for (const bool is_floor : {false, true}) {
			const std::string name = std::string(measurement.name) + (is_floor ? " (floor)" : "");
			benchmark::RegisterBenchmark(name.c_str(), [&measurement, is_floor](benchmark::State &state) {
				BenchWorld bench(measurement.filters);
				const Work work = (is_floor ? measurement.floor : measurement.work)(bench);
				for (auto _ : state)
					work();
			});
		}
	}
}

// That many filters more must not cost more each.
bool report_linearity()
{
	const auto per_filter = [](int filters) {
		BenchWorld bench(filters);
		const Work work = idle_poll(bench);
		return compare(31, 4000 / filters, work, work).left_seconds / filters;
	};
	return report("idle poll, per filter of 1000 / per filter of 40", per_filter(1000) / per_filter(40), bar);
}

bool report_ratio(const Measurement &measurement)
{
	BenchWorld bench(measurement.filters);
	const Work work = measurement.work(bench);
	const Work floor = measurement.floor(bench);
	work();
	floor();
	const Comparison result = compare(61, measurement.runs, work, floor);
	std::printf("  %-28s %10.3f us, floor %10.3f us\n", measurement.name, result.left_seconds * 1e6,
		    result.right_seconds * 1e6);
	const std::string what = std::string(measurement.name) + " / floor";
	return report(what.c_str(), result.ratio(), bar);
}

// Counts what reaches widgets.
class EventCount : public QObject {
public:
	EventCount() { qApp->installEventFilter(this); }
	bool eventFilter(QObject *receiver, QEvent *) override
	{
		events += receiver->isWidgetType();
		return false;
	}
	int events = 0;
};

// A turn that finds nothing new: no memory, and nothing for any widget, not even an event of its own.
bool report_idleness()
{
	constexpr int polls = 100;
	BenchWorld bench(40);
	settle();
	const uint64_t before = heap_allocation_count();
	for (int i = 0; i < polls; ++i)
		bench.world.poll();
	const uint64_t allocations = heap_allocation_count() - before;
	EventCount count;
	for (int i = 0; i < polls; ++i)
		bench.world.poll();
	settle();
	const bool held = report("heap allocations in an idle poll", static_cast<double>(allocations) / polls, 0.0);
	return report("widget events of an idle poll", static_cast<double>(count.events) / polls, 0.0) && held;
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = take_check_option(argc, argv);
	qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argc, argv);
	QApplication::setStyle(QStringLiteral("fusion"));
	const LogCapture quiet;
	register_benchmarks();
	benchmark::Initialize(&argc, argv);
	if (benchmark::ReportUnrecognizedArguments(argc, argv))
		return 2;
	benchmark::RunSpecifiedBenchmarks();

	std::printf("\nThe panel beside its floors (medians of processor time, both sides in turns)\n");
	bool held = report_idleness();
	held &= report_linearity();
	for (const Measurement &measurement : measurements)
		held &= report_ratio(measurement);
	return check && !held ? 1 : 0;
}
