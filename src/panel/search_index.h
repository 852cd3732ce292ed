// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QPointer>
#include <QString>
#include <QWidget>
#include <vector>

// What the panel's search finds. User-interface thread.
namespace kalvio {

// One control of a page, or one of the sources that the panel can drive.
struct SearchEntry {
	QString name;  // of the control, with its group, as screen readers say it; or of the source
	QString place; // the tab of its page, or "Source"
	int page = -1; // of the control
	QPointer<QWidget> control = {};
	int source = -1; // its position in panel_model().names
};

// Appends the controls of `page` that can be seen there: sliders and switches, then options, tiles and buttons with a
// text.
void add_controls(std::vector<SearchEntry> &entries, const QWidget &page, int index, const QString &place);

// The entries in whose name and place each word of `query` occurs, whatever its case. Those whose name begins with the
// query come first, then those whose name contains it. None for a query without a word.
std::vector<SearchEntry> find_entries(const std::vector<SearchEntry> &entries, const QString &query);

} // namespace kalvio
