// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

namespace kalvio::bench {

// What the engine's benchmark has measured: tables in Markdown on the standard output, and both files at the end.
class Report {
public:
	void line(const std::string &text);
	// The head of a table.
	void table(const std::vector<std::string> &columns);
	// A row of it. Its numbers go to the JSON as well, under the names of `record`.
	void row(const std::vector<std::string> &cells, nlohmann::json record);

	// "met" or "missed"; a missed bar is remembered.
	const char *judge(bool met);
	bool all_met() const { return missed_ == 0; }

	// For the JSON alone: a peer's time that is not the fastest.
	void note(nlohmann::json record) { notes_.push_back(std::move(record)); }

	// Writes OUTPUT_BASE.md and OUTPUT_BASE.json.
	void save(const std::string &output_base) const;

private:
	std::ostringstream markdown_;
	nlohmann::json rows_ = nlohmann::json::array();
	nlohmann::json notes_ = nlohmann::json::array();
	int missed_ = 0;
};

// A number with two decimals.
std::string number(double value);

} // namespace kalvio::bench
