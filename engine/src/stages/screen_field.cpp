// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/screen_field.h"

#include "pool.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace kalvio::engine {

namespace {

constexpr int cell_pixels = kernels::key_cell_pixels;

constexpr float darkest_screen = 0.008F;
// Of the pixels that were looked at; less is no screen.
constexpr float least_screen = 0.004F;
// A screen in deep shadow has at least this part of the usual difference.
constexpr float darkest_part = 0.12F;
// Fronts that are hardly less neutral than this are taken for neutral.
constexpr float least_front_opacity = 1.05F;
constexpr float most_front_opacity = 2.5F;
// From this opacity on a pixel is surely foreground.
constexpr float surely_front = 0.9F;

// Light of a level, sRGB (IEC 61966-2-1), in steps of 2^-20: the last bit of pow differs between math libraries.
using LightTable = std::array<float, 256>;

const LightTable &light_table()
{
	static const LightTable table = [] {
		LightTable made{};
		constexpr double one = 1 << 20;
		for (size_t level = 0; level < made.size(); ++level) {
			const double value = static_cast<double>(level) / 255;
			const double light = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
			made[level] = static_cast<float>(std::nearbyint(light * one) / one);
		}
		return made;
	}();
	return table;
}

float difference_of(const std::array<float, 3> &light, const kernels::KeyChannel &key)
{
	const auto own = static_cast<size_t>(key.channel);
	return light[own] - key.others * std::max(light[(own + 1) % 3], light[(own + 2) % 3]);
}

std::array<float, 3> light_of(const uint8_t *pixel, const LightTable &table)
{
	return {table[pixel[0]], table[pixel[1]], table[pixel[2]]};
}

// The level of a light, 12 bits of it.
constexpr int level_steps = 4096;

uint32_t level_of(float light)
{
	static const std::array<uint8_t, level_steps> table = [] {
		std::array<uint8_t, level_steps> made{};
		size_t level = 0;
		for (size_t step = 0; step < made.size(); ++step) {
			const float own = (static_cast<float>(step) + 0.5F) / level_steps;
			while (level < 255 && (light_table()[level] + light_table()[level + 1]) / 2 < own)
				++level;
			made[step] = static_cast<uint8_t>(level);
		}
		return made;
	}();
	return table[static_cast<size_t>(std::clamp(light, 0.0F, 0.9999F) * level_steps)];
}

float square(float value)
{
	return value * value;
}

// Hair and shadows say little about the screen's light.
float screen_weight(float difference)
{
	return square(difference);
}

// Smoke and glass say even less: they are paler than the screen.
float weight_of_purity(float difference, float light)
{
	return square(square(square(difference / light)));
}

bool is_visible(const uint8_t *pixel)
{
	return pixel[3] >= 128;
}

} // namespace

void ScreenField::resize(const Frame &frame)
{
	if (frame.width == width_ && frame.height == height_)
		return;
	width_ = frame.width;
	height_ = frame.height;
	levels_.clear();
	int columns = (width_ + cell_pixels - 1) / cell_pixels;
	int rows = (height_ + cell_pixels - 1) / cell_pixels;
	cells_.assign(size_t(columns) * size_t(rows), {});
	key_cells_.assign(cells_.size(), {});
	inverse_.assign(size_t(columns + 2) * size_t(rows), 0);
	levels_.push_back({columns, rows, std::vector<Light>(cells_.size())});
	while (columns > 1 || rows > 1) {
		columns = (columns + 1) / 2;
		rows = (rows + 1) / 2;
		levels_.push_back({columns, rows, std::vector<Light>(size_t(columns) * size_t(rows))});
	}
}

// Two rows of a cell, every other pixel. A difference counts by its square: hair and shadows on the screen say
// little about its light.
void ScreenField::measure_screen(const Frame &frame, const kernels::KeyChannel &key, int row)
{
	constexpr int row_step = 8;
	constexpr int pixel_step = 2;
	constexpr int samples = cell_pixels / pixel_step;
	const auto own = static_cast<size_t>(key.channel);
	const LightTable &table = light_table();
	for (int column = 0; column < columns(); ++column) {
		Cell &cell = cells_[size_t(row) * size_t(columns()) + size_t(column)];
		const float before = cell.level;
		cell = {};
		cell.before = before;
		float levels = 0;
		for (int line = row_step / 2 - 1; line < cell_pixels; line += row_step) {
			const uint8_t *pixels = frame.input_row(std::min(row * cell_pixels + line, frame.height - 1));
			std::array<float, 2> last = {}; // differences of the samples before, of screen alone
			for (int sample = 0; sample < samples; ++sample) {
				const int x = column * cell_pixels + sample * pixel_step;
				if (x >= frame.width)
					break;
				const uint8_t *pixel = pixels + size_t(x) * bytes_per_pixel;
				++cell.count;
				levels += static_cast<float>(pixel[1]);
				const uint8_t other = std::max(pixel[(own + 1) % 3], pixel[(own + 2) % 3]);
				if (pixel[own] <= other || !is_visible(pixel)) {
					last = {0, last[0]};
					continue;
				}
				const std::array<float, 3> light = light_of(pixel, table);
				const float difference = difference_of(light, key);
				const bool is_screen =
					light[own] >= darkest_screen && difference >= key.least_purity * light[own];
				if (is_screen) {
					const float weight = screen_weight(difference);
					for (size_t channel = 0; channel < 3; ++channel)
						cell.screen.sum[channel] += weight * light[channel];
					cell.screen.weight += weight;
					++cell.screen_count;
					if (last[1] > 0) {
						cell.noise_sum += std::fabs(difference - last[1]);
						++cell.noise_count;
					}
				}
				last = {is_screen ? difference : 0, last[0]};
			}
		}
		cell.level = levels / static_cast<float>(std::max(cell.count, 1));
		if (cell.screen.weight > 0) {
			const float purity =
				weight_of_purity(difference_of(cell.screen.sum, key), cell.screen.sum[own]);
			for (float &channel : cell.screen.sum)
				channel *= purity;
			cell.screen.weight *= purity;
		}
	}
}

// Whether there is a screen, how bright it is and how noisy.
void ScreenField::judge_screen(const kernels::KeyChannel &key)
{
	Light all;
	int count = 0;
	int screen_count = 0;
	int changed = 0;
	for (const Cell &cell : cells_) {
		for (size_t channel = 0; channel < 3; ++channel)
			all.sum[channel] += cell.screen.sum[channel];
		all.weight += cell.screen.weight;
		count += cell.count;
		screen_count += cell.screen_count;
		changed += std::fabs(cell.level - cell.before) > 16.0F ? 1 : 0;
	}
	is_cut_ = 2 * changed > static_cast<int>(cells_.size());
	is_found_ = screen_count > 0 && static_cast<float>(screen_count) >= least_screen * static_cast<float>(count);
	noise_ = 0;
	if (!is_found_)
		return;
	for (float &channel : all.sum)
		channel /= all.weight;
	reference_ = difference_of(all.sum, key);
	reference_light_ = all.sum[size_t(key.channel)];

	float noise = 0;
	int noise_count = 0;
	for (const Cell &cell : cells_) {
		if (cell.screen_count < cell.count)
			continue;
		noise += cell.noise_sum;
		noise_count += cell.noise_count;
	}
	// The mean difference of two normal values is 2 / sqrt(pi) of their standard deviation.
	if (noise_count > 0)
		noise_ = 0.886F * noise / (static_cast<float>(noise_count) * reference_);
}

float ScreenField::level() const
{
	return static_cast<float>(level_of(reference_light_));
}

// Pull-push: `least_weight` is that of a cell which speaks for itself as much as its neighbors do for it. Of a cell
// that is twice as wide more is asked, so that a little in each of many cells does not add up.
void ScreenField::spread(float least_weight)
{
	for (size_t index = 1; index < levels_.size(); ++index) {
		const Level &fine = levels_[index - 1];
		Level &coarse = levels_[index];
		std::fill(coarse.cells.begin(), coarse.cells.end(), Light{});
		for (int y = 0; y < fine.rows; ++y) {
			for (int x = 0; x < fine.columns; ++x) {
				const Light &from = fine.cells[size_t(y) * size_t(fine.columns) + size_t(x)];
				Light &to = coarse.cells[size_t(y / 2) * size_t(coarse.columns) + size_t(x / 2)];
				for (size_t channel = 0; channel < 3; ++channel)
					to.sum[channel] += from.sum[channel] / 2;
				to.weight += from.weight / 2;
			}
		}
	}
	Light &top = levels_.back().cells.front();
	for (float &channel : top.sum)
		channel /= std::max(top.weight, 1e-20F);
	for (size_t index = levels_.size() - 1; index > 0; --index) {
		Level &fine = levels_[index - 1];
		const Level &coarse = levels_[index];
		for (int y = 0; y < fine.rows; ++y) {
			for (int x = 0; x < fine.columns; ++x) {
				Light &to = fine.cells[size_t(y) * size_t(fine.columns) + size_t(x)];
				const Light &from =
					coarse.cells[size_t(y / 2) * size_t(coarse.columns) + size_t(x / 2)];
				for (size_t channel = 0; channel < 3; ++channel)
					to.sum[channel] = (to.sum[channel] + least_weight * from.sum[channel]) /
							  (to.weight + least_weight);
			}
		}
	}
}

void ScreenField::take_screen(const kernels::KeyChannel &key)
{
	const Level &level = levels_.front();
	for (size_t index = 0; index < cells_.size(); ++index) {
		std::array<float, 3> light = level.cells[index].sum;
		float difference = difference_of(light, key);
		if (!is_found_) {
			light = {0, 0, 0};
			light[size_t(key.channel)] = 0.4F;
			difference = 0.4F;
		}
		difference = std::max(difference, darkest_part * reference_);
		for (size_t channel = 0; channel < 3; ++channel)
			key_cells_[index].screen[channel] = light[channel] / difference;
		const auto row = static_cast<int>(index) / level.columns;
		const auto column = static_cast<int>(index) % level.columns;
		inverse_[size_t(row) * size_t(level.columns + 2) + size_t(column) + 1] =
			std::min(1 / difference, kernels::most_inverse_screen);
	}
	for (int row = 0; row < level.rows; ++row) {
		float *line = inverse_.data() + size_t(row) * size_t(level.columns + 2);
		line[0] = line[1];
		line[level.columns + 1] = line[level.columns];
	}
}

// Four rows of a cell, every other pixel.
void ScreenField::measure_front(const Frame &frame, const kernels::KeyChannel &key, int row)
{
	const LightTable &table = light_table();
	for (int column = 0; column < columns(); ++column) {
		const size_t index = size_t(row) * size_t(columns()) + size_t(column);
		Cell &cell = cells_[index];
		cell.front = {};
		if (!cell.is_border)
			continue;
		const float inverse = inverse_[size_t(row) * size_t(columns() + 2) + size_t(column) + 1];
		for (int line = 1; line < cell_pixels; line += 4) {
			const uint8_t *pixels = frame.input_row(std::min(row * cell_pixels + line, frame.height - 1));
			const int end = std::min((column + 1) * cell_pixels, frame.width);
			for (int x = column * cell_pixels; x < end; x += 2) {
				const uint8_t *pixel = pixels + size_t(x) * bytes_per_pixel;
				const std::array<float, 3> light = light_of(pixel, table);
				if (!is_visible(pixel) || 1 - difference_of(light, key) * inverse < surely_front)
					continue;
				for (size_t channel = 0; channel < 3; ++channel)
					cell.front.sum[channel] += light[channel];
				cell.front.weight += 1;
			}
		}
	}
}

// Cells that have both the screen and something else in them or beside them.
void ScreenField::find_border()
{
	const int rows = levels_.front().rows;
	for (int row = 0; row < rows; ++row) {
		for (int column = 0; column < columns(); ++column) {
			bool has_screen = false;
			bool has_front = false;
			for (int y = std::max(row - 1, 0); y <= std::min(row + 1, rows - 1); ++y) {
				for (int x = std::max(column - 1, 0); x <= std::min(column + 1, columns() - 1); ++x) {
					const Cell &cell = cells_[size_t(y) * size_t(columns()) + size_t(x)];
					has_screen = has_screen || cell.screen_count > 0;
					has_front = has_front || cell.screen_count < cell.count;
				}
			}
			cells_[size_t(row) * size_t(columns()) + size_t(column)].is_border = has_screen && has_front;
		}
	}
}

// The fronts of the finest level, each with a part of its neighbors': the color changes little from cell to cell.
void ScreenField::widen_front()
{
	Level &finest = levels_.front();
	for (int row = 0; row < finest.rows; ++row) {
		for (int column = 0; column < finest.columns; ++column) {
			const size_t index = size_t(row) * size_t(finest.columns) + size_t(column);
			Light &light = finest.cells[index];
			light = {};
			if (!cells_[index].is_border)
				continue;
			for (int y = std::max(row - 1, 0); y <= std::min(row + 1, finest.rows - 1); ++y) {
				for (int x = std::max(column - 1, 0); x <= std::min(column + 1, finest.columns - 1);
				     ++x) {
					const Light &near =
						cells_[size_t(y) * size_t(finest.columns) + size_t(x)].front;
					const float part = (y == row ? 1.0F : 0.5F) * (x == column ? 1.0F : 0.5F);
					for (size_t channel = 0; channel < 3; ++channel)
						light.sum[channel] += part * near.sum[channel];
					light.weight += part * near.weight;
				}
			}
		}
	}
}

void ScreenField::take_front(const kernels::KeyChannel &key)
{
	const Level &level = levels_.front();
	for (size_t index = 0; index < cells_.size(); ++index) {
		kernels::KeyCell &cell = key_cells_[index];
		cell.fill = 0;
		for (size_t channel = 0; channel < 3; ++channel) {
			cell.front[channel] = level.cells[index].sum[channel];
			cell.fill |= level_of(cell.front[channel]) << (8 * channel);
		}
		cell.front_opacity = 1;
		if (!is_found_ || !cells_[index].is_border)
			continue;
		const auto row = index / size_t(columns());
		const float inverse = inverse_[row * size_t(columns() + 2) + index % size_t(columns()) + 1];
		const std::array<float, 3> front = {cell.front[0], cell.front[1], cell.front[2]};
		const float opacity = 1 - difference_of(front, key) * inverse;
		if (opacity > least_front_opacity)
			cell.front_opacity = std::min(opacity, most_front_opacity);
	}
}

void ScreenField::build(const Frame &frame, const kernels::KeyChannel &key, Pool &pool)
{
	resize(frame);
	Level &finest = levels_.front();
	pool.run(finest.rows, [&](int row, int /*slot*/) { measure_screen(frame, key, row); });
	judge_screen(key);
	for (size_t index = 0; index < cells_.size(); ++index)
		finest.cells[index] = cells_[index].screen;
	// Of one pixel of the usual screen.
	const float usual = screen_weight(reference_) * weight_of_purity(reference_, reference_light_);
	if (is_found_)
		spread(2 * usual);
	take_screen(key);
	find_border();
	pool.run(finest.rows, [&](int row, int /*slot*/) { measure_front(frame, key, row); });
	widen_front();
	spread(1);
	take_front(key);
}

const kernels::KeyCell *ScreenField::cells(int y) const
{
	return key_cells_.data() + size_t(y / cell_pixels) * size_t(columns());
}

void ScreenField::write_inverse(int y, int16_t *inverse) const
{
	const int count = columns() + 2;
	const float place = (static_cast<float>(y) + 0.5F) / cell_pixels - 0.5F;
	const int upper = static_cast<int>(std::floor(place));
	const float part = place - static_cast<float>(upper);
	const int last = levels_.front().rows - 1;
	constexpr float one = kernels::one_opacity;
	const float *above = inverse_.data() + size_t(std::max(upper, 0)) * size_t(count);
	const float *below = inverse_.data() + size_t(std::min(upper + 1, last)) * size_t(count);
	for (int index = 0; index < count; ++index)
		inverse[index] = static_cast<int16_t>((above[index] + (below[index] - above[index]) * part) * one);
}

} // namespace kalvio::engine
