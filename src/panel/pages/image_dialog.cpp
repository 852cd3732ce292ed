// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/pages/image_dialog.h"

#include "panel/widgets/form_builder.h"

#include <QFileDialog>

namespace kalvio {
namespace {

QWidget *panel_of(QWidget &origin)
{
	QWidget *widget = &origin;
	while (widget && widget->objectName() != QLatin1String("kalvioPanel"))
		widget = widget->parentWidget();
	return widget ? widget : &origin;
}

} // namespace

void choose_image(QWidget &origin, std::function<void(const QString &path)> picked)
{
	// Not a nested event loop: the host may close the panel, and with it the dialog, while it is open.
	auto *dialog = new QFileDialog(panel_of(origin), translated("bg.pickImageTitle"), QString(),
				       QStringLiteral("Images (*.png *.jpg *.jpeg *.bmp *.webp);;All files (*)"));
	dialog->setAttribute(Qt::WA_DeleteOnClose);
	dialog->setFileMode(QFileDialog::ExistingFile);
	// Where the desktop has no dialog of its own, Qt's takes the panel's light text on the host's background.
	dialog->setStyleSheet(QStringLiteral("QLabel { color:palette(window-text); }"));
	QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [picked = std::move(picked)](const QString &path) {
		if (!path.isEmpty())
			picked(path);
	});
	dialog->open();
}

} // namespace kalvio
