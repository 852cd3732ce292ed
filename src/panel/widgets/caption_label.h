// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QLabel>
#include <memory>
#include <vector>

namespace kalvio {

class CaptionLabel;

// The captions of the rows of one card. Kept by its members.
struct CaptionColumn {
	std::vector<const CaptionLabel *> labels;
};

// A caption that asks for the width of the widest of its column, so that what stands beside the captions lines up. It
// is painted brighter while the setting that it names is not at its default.
class CaptionLabel : public QLabel {
	Q_OBJECT

public:
	explicit CaptionLabel(std::shared_ptr<CaptionColumn> column, QWidget *parent = nullptr);
	~CaptionLabel() override;

	QSize sizeHint() const override;

	void mark_changed(bool is_changed);
	bool is_marked() const { return is_changed_; }

signals:
	void double_clicked(); // with the left button

protected:
	void paintEvent(QPaintEvent *event) override;
	void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
	std::shared_ptr<CaptionColumn> column_;
	bool is_changed_ = false;
};

} // namespace kalvio
