// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/style_sheet.h"

namespace kalvio {
namespace {

// The first two font families draw Chinese captions in the native face of either desktop; keep their order.
// clang-format off
constexpr const char *rules[] = {
	R"(QWidget#kalvioPanel { background:#0b0c10; color:#f3f4f6; font-family:"Microsoft YaHei","PingFang SC",sans-serif; font-size:13px; })",
	R"(QLabel { color:#f3f4f6; background:transparent; })",
	R"(QLabel#muted { color:#9ca3af; })",
	R"(QLabel#cardTitle { font-size:14px; })",
	R"(QComboBox { background:#20232b; color:#e5e7eb; border:1px solid #2e3340; border-radius:6px; padding:4px 8px; })",
	R"(QComboBox QAbstractItemView { background:#20232b; color:#e5e7eb; selection-background-color:#2a3040; })",
	R"(QPushButton#iconBtn { background:transparent; color:#9ca3af; border:none; border-radius:8px; })",
	R"(QPushButton#iconBtn:hover { background:#20232b; color:#e5e7eb; })",
	R"(QPushButton#quiet { background:#20232b; color:#f3f4f6; border:none; border-radius:10px; padding:6px 12px; min-height:22px; })",
	R"(QPushButton#quiet:hover { background:#2a2e38; })",
	R"(QPushButton#headBtn { background:#20232b; color:#e5e7eb; border:1px solid #2e3340; border-radius:6px; padding:4px 10px; })",
	R"(QPushButton#headBtn:hover { background:#2a3040; })",
	R"(QPushButton#headBtn:checked { background:#2a3040; border-color:#4b5568; })",
	R"(QPushButton#headIcon { background:#20232b; color:#e5e7eb; border:1px solid #2e3340; border-radius:6px; padding:0; })",
	R"(QPushButton#headIcon:hover { background:#2a3040; })",
	R"(QPushButton#headIcon:checked { background:#2a3040; border-color:#4b5568; })",
	R"(QPushButton#link { background:transparent; color:#e5e7eb; border:none; padding:0; })",
	R"(QPushButton#link:hover { color:#ffffff; })",
	R"(QWidget#banner { background:#201b12; border-radius:0px; })",
	R"(QWidget#updateSoft { background:#14241a; border:none; border-radius:0px; })",
	R"(QWidget#updateForce { background:#201b12; border:none; border-radius:0px; })",
	R"(QLabel#updateSoftText { color:#b7e0c4; font-size:11px; })",
	R"(QLabel#updateForceText { color:#e8d5b0; font-size:11px; })",
	R"(QPushButton#updateSoftBtn { background:#1a3324; color:#b7e0c4; border:1px solid #2f6b45; border-radius:5px; padding:1px 8px; min-height:16px; font-size:11px; })",
	R"(QPushButton#updateSoftBtn:hover { background:#234532; })",
	R"(QPushButton#updateForceBtn { background:#2a2418; color:#e8d5b0; border:1px solid #6b5a3a; border-radius:5px; padding:1px 8px; min-height:16px; font-size:11px; })",
	R"(QPushButton#updateForceBtn:hover { background:#3a3224; })",
	R"(QWidget#tabBar { background:#14161c; border-radius:12px; })",
	R"(QScrollArea { background:transparent; border:none; })",
	R"(QScrollBar:vertical { background:#0b0c10; width:6px; margin:0; })",
	R"(QScrollBar::handle:vertical { background:#1f2229; border-radius:3px; min-height:24px; })",
	R"(QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height:0; })",
};
// clang-format on

} // namespace

QString panel_style_sheet()
{
	QString sheet;
	for (const char *rule : rules)
		sheet += QLatin1String(rule);
	return sheet;
}

} // namespace kalvio
