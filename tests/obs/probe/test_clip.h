// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QImage>
#include <QString>

namespace kalvio::probe {

// Writes an uncompressed video (YUV4MPEG2, 4:2:0, 30 frames a second) that shows `picture` for `frames` frames. The
// picture's width and height are even. False when the file cannot be written.
bool write_test_clip(const QString &file, const QImage &picture, int frames);

} // namespace kalvio::probe
