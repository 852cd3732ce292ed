// SPDX-License-Identifier: GPL-2.0-or-later
#include "grade.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace kalvio::engine {

namespace {

double to_linear(double value)
{
	return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double to_encoded(double value)
{
	return value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
}

double luma(const Grade::Color &color)
{
	return 0.2126 * color[0] + 0.7152 * color[1] + 0.0722 * color[2];
}

double clamp01(double value)
{
	return std::clamp(value, 0.0, 1.0);
}

double smooth(double value)
{
	const double position = clamp01(value);
	return position * position * (3 - 2 * position);
}

// A curve through 0, 1/2 and 1 with the given slope in the middle: exact at both ends, so nothing is clipped.
double contrast_curve(double value, double slope)
{
	const double x = clamp01(value);
	const double side = x < 0.5 ? 2 * x : 2 * (1 - x);
	const double bent = std::pow(side, slope) / 2;
	return x < 0.5 ? bent : 1 - bent;
}

void expose_and_balance(const Grade &grade, Grade::Color &color)
{
	const double exposure = std::exp2(grade.exposure);
	const Grade::Color balance = {1 + 0.18 * grade.temperature + 0.06 * grade.tint, 1 - 0.12 * grade.tint,
				      1 - 0.22 * grade.temperature + 0.06 * grade.tint};
	const double unchanged = 1 / luma(balance);
	for (size_t channel = 0; channel < 3; ++channel) {
		const double light = to_linear(color[channel]) * exposure * balance[channel] * unchanged;
		// A shoulder above 0.8 instead of a cut.
		const double held = light < 0.8 ? light : 0.8 + 0.2 * (1 - std::exp((0.8 - light) / 0.2));
		color[channel] = to_encoded(exposure * balance[channel] * unchanged > 1 ? held : light);
	}
}

void saturate(Grade::Color &color, double factor)
{
	const double gray = luma(color);
	for (double &channel : color)
		channel = gray + factor * (channel - gray);
}

void move_hues(const std::vector<Grade::HueRange> &ranges, Grade::Color &color)
{
	constexpr double degrees = 180 / std::numbers::pi;
	// An opponent plane: chroma and angle without the corners of a hexagon.
	const double gray = luma(color);
	const double x = color[0] - 0.5 * (color[1] + color[2]);
	const double y = std::numbers::sqrt3 / 2 * (color[1] - color[2]);
	const double angle = std::atan2(y, x) * degrees;
	double turn = 0;
	double factor = 1;
	double lighter = 0;
	for (const Grade::HueRange &range : ranges) {
		const double distance = std::abs(std::remainder(angle - range.hue, 360.0));
		const double weight = smooth(1.5 - distance / range.width) * smooth(std::hypot(x, y) * 6);
		turn += weight * range.shift;
		factor *= 1 + weight * (range.saturation - 1);
		lighter += weight * range.lightness;
	}
	if (turn == 0 && factor == 1 && lighter == 0)
		return;
	const double turned_x = factor * (x * std::cos(turn / degrees) - y * std::sin(turn / degrees));
	const double turned_y = factor * (x * std::sin(turn / degrees) + y * std::cos(turn / degrees));
	Grade::Color moved = {2.0 / 3 * turned_x, -turned_x / 3 + turned_y / std::numbers::sqrt3,
			      -turned_x / 3 - turned_y / std::numbers::sqrt3};
	const double missing = gray - luma(moved) + lighter;
	for (size_t channel = 0; channel < 3; ++channel)
		color[channel] = moved[channel] + missing;
}

void split_tone(const Grade &grade, Grade::Color &color)
{
	const double level = clamp01(luma(color));
	const double shadows = (1 - level) * (1 - level) * (1 - std::exp(-12 * level));
	const double highlights = level * level * (1 - std::exp(-12 * (1 - level)));
	for (size_t channel = 0; channel < 3; ++channel)
		color[channel] += shadows * (grade.shadow_color[channel] - 0.5) +
				  highlights * (grade.highlight_color[channel] - 0.5);
}

} // namespace

Grade::Color apply_grade(const Grade &grade, const Grade::Color &input)
{
	Grade::Color color = input;
	if (grade.exposure != 0 || grade.temperature != 0 || grade.tint != 0)
		expose_and_balance(grade, color);
	for (size_t channel = 0; channel < 3; ++channel) {
		double value = contrast_curve(color[channel], grade.contrast);
		value = value * grade.gain[channel] + grade.lift[channel] * (1 - value);
		color[channel] = std::pow(clamp01(value), 1 / grade.gamma[channel]);
	}
	const double range =
		*std::max_element(color.begin(), color.end()) - *std::min_element(color.begin(), color.end());
	saturate(color, grade.saturation + grade.vibrance * (1 - clamp01(range)));
	if (!grade.hues.empty())
		move_hues(grade.hues, color);
	split_tone(grade, color);
	for (double &channel : color)
		channel = clamp01(grade.fade * 0.5 + (1 - grade.fade * 0.75) * channel);
	return color;
}

namespace {

void read_field(const nlohmann::json &value, double &field)
{
	field = value.get<double>();
}

void read_field(const nlohmann::json &value, Grade::Color &field)
{
	field = value.get<Grade::Color>();
}

void read_field(const nlohmann::json &value, std::vector<Grade::HueRange> &field)
{
	for (const nlohmann::json &item : value) {
		field.push_back({item.at("hue").get<double>(), item.value("width", 30.0), item.value("shift", 0.0),
				 item.value("saturation", 1.0), item.value("lightness", 0.0)});
	}
}

} // namespace

Grade grade_from_json(const nlohmann::json &json)
{
	Grade grade;
	size_t known = 0;
	const auto field = [&](const char *name, auto &place) {
		if (const auto found = json.find(name); found != json.end()) {
			read_field(*found, place);
			++known;
		}
	};
	field("exposure", grade.exposure);
	field("temperature", grade.temperature);
	field("tint", grade.tint);
	field("contrast", grade.contrast);
	field("lift", grade.lift);
	field("gamma", grade.gamma);
	field("gain", grade.gain);
	field("saturation", grade.saturation);
	field("vibrance", grade.vibrance);
	field("hues", grade.hues);
	field("shadow_color", grade.shadow_color);
	field("highlight_color", grade.highlight_color);
	field("fade", grade.fade);
	if (known + json.count("name") != json.size())
		throw std::runtime_error("the grade has an unknown field");
	return grade;
}

} // namespace kalvio::engine
