// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/text/translation_table.h"

// What the panel says about itself beside its controls.
namespace kalvio {

namespace {

// Key, then English, Simplified Chinese, Traditional Chinese, Japanese, Korean, Brazilian Portuguese, Spanish, German.
constexpr TranslationRow note_rows[] = {
	{"note.notVisibleYet",
	 {"Not visible yet", "暂无效果", "尚無效果", "まだ反映されません", "아직 효과 없음", "Ainda sem efeito",
	  "Aún sin efecto", "Noch ohne Wirkung"}},
	{"note.changed", {"Changed", "已更改", "已變更", "変更済み", "변경됨", "Alterado", "Modificado", "Geändert"}},
	{"note.doubleClickForDefault",
	 {"Double-click: back to the default", "双击可恢复默认值", "按兩下可還原預設值",
	  "ダブルクリックで既定値に戻します", "두 번 클릭하면 기본값으로 되돌아갑니다",
	  "Clique duas vezes para voltar ao padrão", "Doble clic para volver al valor predeterminado",
	  "Doppelklick: zurück zum Standardwert"}},
	{"note.clickToType",
	 {"Click to type a number", "点击可输入数值", "按一下可輸入數值", "クリックして数値を入力",
	  "클릭하여 숫자 입력", "Clique para digitar um número", "Haz clic para escribir un número",
	  "Klicken Sie, um eine Zahl einzugeben"}},
	{"original.hold",
	 {"Hold: original, on air too", "按住看原画面（观众也可见）", "按住看原畫面（觀眾也可見）",
	  "長押し：元の映像（配信にも）", "누르는 동안 원본(방송에도)", "Segure: original, até no ar",
	  "Mantén: original, y en vivo", "Halten: Original, auch live"}},
	{"original.holdHint",
	 {"While you hold it, your viewers too see the source without retouch", "按住期间，观众也会看到未美颜的画面",
	  "按住期間，觀眾也會看到未美顏的畫面", "押している間は、視聴者にも補正前の映像が表示されます",
	  "누르고 있는 동안 시청자에게도 보정하지 않은 화면이 보입니다",
	  "Enquanto você segura, quem assiste também vê a fonte sem retoque",
	  "Mientras lo mantienes pulsado, tus espectadores también ven la fuente sin retoque",
	  "Solange Sie gedrückt halten, sieht auch Ihr Publikum die Quelle ohne Retusche"}},
};

} // namespace

const std::span<const TranslationRow> note_texts = note_rows;

} // namespace kalvio
