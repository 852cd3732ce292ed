// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/search_index.h"

#include "panel/widgets/switch.h"

#include <QAbstractButton>
#include <QSlider>
#include <algorithm>

namespace kalvio {
namespace {

bool is_searched(const QWidget &widget, const QWidget &page)
{
	if (!widget.isVisibleTo(&page))
		return false;
	if (const auto *button = qobject_cast<const QAbstractButton *>(&widget))
		return button->isCheckable() || !button->text().isEmpty();
	return qobject_cast<const QSlider *>(&widget) || qobject_cast<const Switch *>(&widget);
}

QString name_of(const QWidget &widget)
{
	const auto *button = qobject_cast<const QAbstractButton *>(&widget);
	return button && widget.accessibleName().isEmpty() ? button->text() : widget.accessibleName();
}

// 0 is the best; -1: not found.
int rank(const SearchEntry &entry, const QString &query, const QStringList &words)
{
	const QString text = entry.name + u' ' + entry.place;
	const bool has_all = std::ranges::all_of(
		words, [&text](const QString &word) { return text.contains(word, Qt::CaseInsensitive); });
	if (!has_all)
		return -1;
	if (entry.name.startsWith(query, Qt::CaseInsensitive))
		return 0;
	return entry.name.contains(query, Qt::CaseInsensitive) ? 1 : 2;
}

} // namespace

void add_controls(std::vector<SearchEntry> &entries, const QWidget &page, int index, const QString &place)
{
	const auto first = static_cast<std::ptrdiff_t>(entries.size());
	for (QWidget *widget : page.findChildren<QWidget *>()) {
		if (is_searched(*widget, page))
			entries.push_back({.name = name_of(*widget), .place = place, .page = index, .control = widget});
	}
	std::stable_partition(entries.begin() + first, entries.end(), [](const SearchEntry &entry) {
		return !qobject_cast<QAbstractButton *>(entry.control.data());
	});
}

std::vector<SearchEntry> find_entries(const std::vector<SearchEntry> &entries, const QString &query)
{
	constexpr int worst_rank = 2;
	const QString wanted = query.simplified();
	const QStringList words = wanted.split(u' ', Qt::SkipEmptyParts);
	std::vector<SearchEntry> found;
	if (words.isEmpty())
		return found;
	for (int wanted_rank = 0; wanted_rank <= worst_rank; ++wanted_rank) {
		std::ranges::copy_if(entries, std::back_inserter(found), [&](const SearchEntry &entry) {
			return rank(entry, wanted, words) == wanted_rank;
		});
	}
	return found;
}

} // namespace kalvio
