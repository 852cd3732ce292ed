// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/host_guard.h"

#include "panel/widgets/style_sheet.h"

// A host such as OBS Studio gives the application a style sheet whose rules match every widget of the process,
// plug-ins' included: "QPushButton { max-height:22px }" squeezes each button, "QWidget { font-size:12pt }" reaches each
// label. What the panel's root says about itself is inherited by no child that a rule of the host matches.
//
// In Qt a rule of a nearer sheet beats one of a farther sheet, whatever their selectors: the application's sheet is the
// farthest. The rules here are therefore stronger than the host's, also than its ":hover" and ":disabled" ones, and
// than those of the panel's root, which is why the latter are repeated after them.
namespace kalvio {
namespace {

// The panel's text sizes are its own, like its other measures: they follow neither family nor size of the host's font.
constexpr const char *font_rule =
	R"(QWidget { font-family:"Microsoft YaHei","PingFang SC",sans-serif; font-size:13px; font-weight:normal; font-style:normal; })";

// -1 is how Qt notes a measure that no rule states: the widget's own minimum, maximum and size hint are left alone.
constexpr const char *measures =
	"width:-1px; height:-1px; min-width:-1px; min-height:-1px; max-width:-1px; max-height:-1px;";

constexpr const char *sized_widgets = "QPushButton, QComboBox, QSlider, QLabel, QScrollArea, QLineEdit";

constexpr const char *own_rules[] = {
	// Over a border that the host gives to the content of its docks.
	R"(QWidget#kalvioBody { background:#0b0c10; })",
	R"(QPushButton { margin:0; padding:0; outline:none; text-align:center; })",
	// The arrow is painted by the control.
	R"(QComboBox { margin:0; })",
	R"(QComboBox::drop-down { border:none; background:transparent; width:20px; })",
	R"(QComboBox::down-arrow { image:none; background:transparent; border:none; width:0; })",
	R"(QComboBox QAbstractItemView { padding:0; margin:0; border:1px solid #2e3340; outline:none; })",
	R"(QComboBox QAbstractItemView::item { padding:2px 8px; margin:0; border:none; border-radius:0; min-height:20px; })",
	R"(QComboBox QAbstractItemView::item:selected, QComboBox QAbstractItemView::item:hover { background:#2a3040; color:#ffffff; })",
	R"(QLineEdit { margin:0; padding:0 2px; border:1px solid #60a5fa; border-radius:4px; background:#0f1116; color:#f3f4f6; selection-background-color:#2563eb; selection-color:#ffffff; })",
	R"(QLineEdit#lookName, QLineEdit#searchField { padding:0 8px; border-color:#6b7280; })",
	R"(QLineEdit#lookName:focus, QLineEdit#searchField:focus { border-color:#60a5fa; })",
	R"(QListWidget#searchResults { margin:0; padding:0; border:1px solid #2e3340; border-radius:4px; background:#0f1116; color:#e5e7eb; outline:none; })",
	R"(QListWidget#searchResults::item { margin:0; padding:2px 8px; border:none; border-radius:0; color:#e5e7eb; background:transparent; })",
	R"(QListWidget#searchResults::item:selected, QListWidget#searchResults::item:hover { background:#2a3040; color:#ffffff; })",
	R"(QListWidget#searchResults::item:disabled { background:transparent; color:#9ca3af; })",
	R"(QScrollArea { border-radius:0; })",
	R"(QScrollBar:vertical { border:none; border-radius:0; })",
	// On the panel's background the handle's fill has 1.2 : 1, its outline 4.1 : 1.
	R"(QScrollBar::handle:vertical { margin:0; border:1px solid #6b7280; })",
	R"(QScrollBar::handle:vertical:hover, QScrollBar::handle:vertical:pressed { border-color:#9ca3af; })",
	R"(QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background:none; })",
};

} // namespace

QString host_guard_sheet()
{
	QString sheet = QLatin1String(font_rule);
	sheet += QStringLiteral("%1 { %2 }").arg(QLatin1String(sized_widgets), QLatin1String(measures));
	for (const char *rule : own_rules)
		sheet += QLatin1String(rule);
	return sheet + panel_style_sheet();
}

} // namespace kalvio
