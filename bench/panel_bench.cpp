// SPDX-License-Identifier: GPL-2.0-or-later
// What the panel costs the user-interface thread, each time beside the least that the same work can cost in the same
// run. Filters and registry are the real ones; host and engine are doubles that do next to nothing.
//
//     scripts/bench panel

#include "panel/controls/smooth_button.h"
#include "panel/panel_world.h"
#include "panel/rows.h"
#include "panel/translations.h"

#include "kit/log_capture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QButtonGroup>
#include <QComboBox>
#include <QLabel>
#include <QScrollArea>
#include <QSlider>
#include <QStackedWidget>
#include <benchmark/benchmark.h>
#include <filter/filter_registry.h>
#include <unordered_map>

namespace {

using namespace kalvio;
using namespace kalvio::test;

// A panel over this many filters, without records and without an engine's work.
class BenchWorld {
public:
	explicit BenchWorld(int filters)
	{
		set_engine_script({.idle = true});
		for (int i = 0; i < filters; ++i)
			sources.push_back(&world.add_filter("Camera " + std::to_string(i)));
		world.open_panel();
		call_journal().set_enabled(false);
	}
	~BenchWorld() { call_journal().set_enabled(true); }
	BenchWorld(const BenchWorld &) = delete;
	BenchWorld &operator=(const BenchWorld &) = delete;

	PanelWorld world;
	std::vector<FakeSource *> sources;
};

// A step of a slider, until the settings stand in every filter.
void slider_step(benchmark::State &state)
{
	const auto filters = static_cast<int>(state.range(0));
	BenchWorld bench(filters);
	if (filters > 1) {
		ui_preferences().apply_global = true;
		bench.world.poll();
	}
	auto *slider = bench.world.page(SkinPage).findChild<QSlider *>();
	int position = 0;
	for (auto _ : state)
		slider->setValue(position = (position + 1) % 101);
	const auto expected = static_cast<double>(static_cast<float>(position) / 100.0f);
	for (FakeSource *source : bench.sources) {
		if (setting_double(*source, "smoothing") != expected)
			state.SkipWithError("the step did not arrive");
	}
}
BENCHMARK(slider_step)->Arg(1)->Arg(40);

// The floor of it: the host's own update of each filter with such a set, which has to be new each time.
void slider_step_floor(benchmark::State &state)
{
	const auto filters = static_cast<int>(state.range(0));
	BenchWorld bench(filters);
	ParameterSet set;
	for (auto _ : state) {
		obs_data_t *settings = obs_data_create();
		set.smoothing = set.smoothing < 1.0f ? set.smoothing + 0.01f : 0.0f;
		write_parameters(set, settings);
		for (FakeSource *source : bench.sources)
			source->update(settings);
		obs_data_release(settings);
	}
}
BENCHMARK(slider_step_floor)->Arg(1)->Arg(40);

// One turn of the panel's timer while nothing happens.
void idle_poll(benchmark::State &state)
{
	BenchWorld bench(static_cast<int>(state.range(0)));
	for (auto _ : state)
		bench.world.poll();
}
BENCHMARK(idle_poll)->Arg(1)->Arg(40)->Arg(1000);

// The floor of it: one look at the list of filters, which is all that can tell that nothing happened.
void idle_poll_floor(benchmark::State &state)
{
	BenchWorld bench(static_cast<int>(state.range(0)));
	std::vector<RegisteredFilter> filters;
	for (auto _ : state) {
		list_registered_filters(filters);
		benchmark::DoNotOptimize(filters.data());
	}
}
BENCHMARK(idle_poll_floor)->Arg(1)->Arg(40)->Arg(1000);

void construction(benchmark::State &state)
{
	const BenchWorld bench(1);
	for (auto _ : state) {
		const KalvioPanel panel;
		benchmark::DoNotOptimize(&panel);
	}
}
BENCHMARK(construction)->Unit(benchmark::kMillisecond);

// The same kinds of widgets, nested alike, with the same texts and style sheets, and nothing bound to them.
QWidget *bare_copy(const QWidget &original)
{
	if (const auto *label = qobject_cast<const QLabel *>(&original)) {
		auto *copy = new QLabel(label->text());
		if (!label->pixmap(Qt::ReturnByValue).isNull())
			copy->setPixmap(label->pixmap(Qt::ReturnByValue));
		return copy;
	}
	if (qobject_cast<const QSlider *>(&original)) {
		auto *copy = new QSlider(Qt::Horizontal);
		copy->setStyle(QApplication::style());
		return copy;
	}
	if (const auto *button = qobject_cast<const QAbstractButton *>(&original)) {
		auto *copy = qobject_cast<const SmoothButton *>(button) ? new SmoothButton : new QPushButton;
		copy->setText(button->text());
		copy->setIcon(button->icon());
		copy->setCheckable(button->isCheckable());
		return copy;
	}
	if (qobject_cast<const QComboBox *>(&original))
		return new QComboBox;
	if (qobject_cast<const QScrollArea *>(&original))
		return new QScrollArea;
	if (qobject_cast<const QStackedWidget *>(&original))
		return new QStackedWidget;
	return qobject_cast<const QFrame *>(&original) ? new QFrame : new QWidget;
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
		auto *content = new QWidget;
		static_cast<QScrollArea &>(copy).setWidgetResizable(true);
		static_cast<QScrollArea &>(copy).setWidget(content);
		copy_bare_tree(*area->widget(), *content);
		return;
	}
	auto *stack = qobject_cast<QStackedWidget *>(&copy);
	const auto children = original.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
	if (children.isEmpty())
		return;
	auto *layout = stack ? nullptr : new QVBoxLayout(&copy);
	for (const QWidget *child : children) {
		QWidget *child_copy = bare_copy(*child);
		if (stack)
			stack->addWidget(child_copy);
		else
			layout->addWidget(child_copy);
		copy_bare_tree(*child, *child_copy);
	}
}

void construction_floor(benchmark::State &state)
{
	BenchWorld bench(1);
	for (auto _ : state) {
		QWidget root;
		copy_bare_tree(bench.world.panel(), root);
		benchmark::DoNotOptimize(&root);
	}
}
BENCHMARK(construction_floor)->Unit(benchmark::kMillisecond);

// Every control brought up to date, when another filter with other values has been chosen.
void full_refresh(benchmark::State &state)
{
	BenchWorld bench(1);
	ParameterSet &set = targeting().parameters;
	bool odd = false;
	for (auto _ : state) {
		odd = !odd;
		set.reshape.fill(odd ? 0.25f : -0.25f);
		set.body.fill(odd ? 0.25f : 0.5f);
		set.smoothing_style =
			odd ? beauty_params::SmoothingStyle::Smooth : beauty_params::SmoothingStyle::Natural;
		set.filter_id = odd ? "rose" : "vivid";
		bench.world.panel().refreshControls();
	}
}
BENCHMARK(full_refresh);

// The floor of it: the same widgets told the same values.
void full_refresh_floor(benchmark::State &state)
{
	BenchWorld bench(1);
	const auto sliders = bench.world.panel().findChildren<QSlider *>();
	std::vector<QLabel *> values;
	for (const QSlider *slider : sliders)
		values.push_back(slider->parentWidget()->findChildren<QLabel *>().back());
	const auto reshape = bench.world.page(ReshapePage).findChildren<QSlider *>();
	const auto body = bench.world.page(BodyPage).findChildren<QSlider *>();
	QButtonGroup *styles = bench.world.page(SkinPage).findChild<QButtonGroup *>();
	const auto tiles = bench.world.page(FilterPage).findChild<QButtonGroup *>()->buttons();
	bool odd = false;
	for (auto _ : state) {
		odd = !odd;
		for (qsizetype i = 0; i < sliders.size(); ++i) {
			const bool is_reshape = reshape.contains(sliders.at(i));
			const bool changes = is_reshape || body.contains(sliders.at(i));
			const int position = !changes ? sliders.at(i)->value() : odd ? 25 : is_reshape ? -25 : 50;
			const QSignalBlocker blocker(sliders.at(i));
			sliders.at(i)->setValue(position);
			values[static_cast<size_t>(i)]->setText(QString::number(position));
		}
		styles->button(odd ? 2 : 0)->setChecked(true);
		tiles.at(odd ? 5 : 3)->setChecked(true);
	}
}
BENCHMARK(full_refresh_floor);

void translation(benchmark::State &state)
{
	set_language(LanguageGerman);
	for (auto _ : state)
		benchmark::DoNotOptimize(translate("reshape.browDistance"));
}
BENCHMARK(translation);

// The floor of it: a look-up of such a key in a map of as many.
void translation_floor(benchmark::State &state)
{
	std::vector<std::string> keys;
	for (int i = 0; i < 277; ++i)
		keys.push_back("reshape.someSlider" + std::to_string(i));
	std::unordered_map<std::string_view, const char *> texts;
	for (const std::string &key : keys)
		texts.emplace(key, key.c_str());
	const char *key = "reshape.someSlider99";
	for (auto _ : state) {
		benchmark::DoNotOptimize(key);
		benchmark::DoNotOptimize(texts.find(key)->second);
	}
}
BENCHMARK(translation_floor);

// Says at the end what each measurement is in terms of its floor.
class RatioReporter : public benchmark::ConsoleReporter {
public:
	void ReportRuns(const std::vector<Run> &runs) override
	{
		ConsoleReporter::ReportRuns(runs);
		for (const Run &run : runs) {
			const bool counts = run.run_type == Run::RT_Iteration || run.aggregate_name == "median";
			if (counts && !run.error_occurred)
				times_[run.run_name.str()] = run.GetAdjustedCPUTime();
		}
	}

	void Finalize() override
	{
		ConsoleReporter::Finalize();
		for (const auto &[name, time] : times_) {
			const size_t end_of_name = std::min(name.find('/'), name.size());
			const auto floor =
				times_.find(name.substr(0, end_of_name) + "_floor" + name.substr(end_of_name));
			if (floor != times_.end())
				std::printf("%-24s %5.2f times its floor\n", name.c_str(), time / floor->second);
		}
	}

private:
	std::map<std::string, double> times_;
};

} // namespace

int main(int argc, char **argv)
{
	qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argc, argv);
	QApplication::setStyle(QStringLiteral("fusion"));
	const LogCapture quiet;
	benchmark::Initialize(&argc, argv);
	if (benchmark::ReportUnrecognizedArguments(argc, argv))
		return 2;
	RatioReporter reporter;
	benchmark::RunSpecifiedBenchmarks(&reporter);
	return 0;
}
