// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/looks/look_dialogs.h"

#include "panel/widgets/form_builder.h"

#include <QFileDialog>
#include <QRegularExpression>

namespace kalvio {
namespace {

constexpr const char *suffix = "kalvio-look.json";

QFileDialog *make_dialog(QWidget &origin, const char *title_key)
{
	auto *dialog =
		new QFileDialog(&origin, translated(title_key), QString(), QStringLiteral("Kalvio (*.json);;(*)"));
	dialog->setAttribute(Qt::WA_DeleteOnClose);
	// Where the desktop has no dialog of its own, Qt's takes the panel's light text on the host's background.
	dialog->setStyleSheet(QStringLiteral("QLabel { color:palette(window-text); }"));
	return dialog;
}

void open(QFileDialog *dialog, std::function<void(const QString &path)> picked)
{
	QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [picked = std::move(picked)](const QString &path) {
		if (!path.isEmpty())
			picked(path);
	});
	dialog->open();
}

} // namespace

void choose_look_file_to_read(QWidget &origin, std::function<void(const QString &path)> picked)
{
	QFileDialog *dialog = make_dialog(origin, "look.import");
	dialog->setFileMode(QFileDialog::ExistingFile);
	open(dialog, std::move(picked));
}

void choose_look_file_to_write(QWidget &origin, const QString &name, std::function<void(const QString &path)> picked)
{
	QFileDialog *dialog = make_dialog(origin, "look.export");
	dialog->setAcceptMode(QFileDialog::AcceptSave);
	dialog->setDefaultSuffix(QLatin1String(suffix));
	// What no file system takes.
	static const QRegularExpression forbidden(QStringLiteral(R"([<>:"/\\|?*])"));
	QString file_name = name;
	dialog->selectFile(file_name.replace(forbidden, QStringLiteral("_")) + u'.' + QLatin1String(suffix));
	open(dialog, std::move(picked));
}

} // namespace kalvio
