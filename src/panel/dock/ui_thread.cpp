// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/ui_thread.h"

#include <QApplication>
#include <QThread>
#include <utility>

namespace kalvio {

bool has_user_interface()
{
	return qobject_cast<QApplication *>(QCoreApplication::instance());
}

void run_on_ui_thread(std::function<void()> task)
{
	if (has_user_interface() && QThread::currentThread() == QCoreApplication::instance()->thread())
		task();
	else
		post_to_ui_thread(std::move(task));
}

void post_to_ui_thread(std::function<void()> task)
{
	if (has_user_interface())
		QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task), Qt::QueuedConnection);
}

} // namespace kalvio
