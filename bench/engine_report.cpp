// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_report.h"

#include <cstdio>
#include <fstream>

namespace kalvio::bench {

void Report::line(const std::string &text)
{
	std::printf("%s\n", text.c_str());
	std::fflush(stdout);
	markdown_ << text << '\n';
}

void Report::table(const std::vector<std::string> &columns)
{
	std::string head = "|";
	std::string rule = "|";
	for (const std::string &column : columns) {
		head += ' ' + column + " |";
		rule += "---|";
	}
	line("");
	line(head);
	line(rule);
}

void Report::row(const std::vector<std::string> &cells, nlohmann::json record)
{
	std::string text = "|";
	for (const std::string &cell : cells)
		text += ' ' + cell + " |";
	line(text);
	rows_.push_back(std::move(record));
}

const char *Report::judge(bool met)
{
	missed_ += met ? 0 : 1;
	return met ? "met" : "missed";
}

void Report::save(const std::string &output_base) const
{
	std::ofstream(output_base + ".md") << markdown_.str();
	std::ofstream(output_base + ".json")
		<< nlohmann::json{{"rows", rows_}, {"peers", notes_}, {"all_met", all_met()}}.dump(2) << '\n';
}

std::string number(double value)
{
	char text[32];
	std::snprintf(text, sizeof(text), "%.2f", value);
	return text;
}

} // namespace kalvio::bench
