#pragma once

#include <QString>

#include <memory>

class QMessageBox;

// The modal message boxes of the program. All texts are rich text: names and words that came from
// outside go in through `toHtmlEscaped`, whole messages through `plainInBox`. Main thread only.

/// Shows a box with a `QMessageBox::Icon` and those of the `QMessageBox` buttons Yes, No, Ok and Cancel
/// that `buttons` asks for. Returns the button pressed; Escape counts as Cancel, No, or the only button.
/// `details`, plain text, are shown at a button's press.
int showMessage(int icon, const QString &text, int buttons, const QString &details = {});

/// The same box before it is shown, for those who add a button or close it themselves.
std::unique_ptr<QMessageBox> messageBox(int icon, const QString &text, int buttons);

void showInfo(const QString &text);
void showWarning(const QString &text);
/// The text goes out as an error report, too.
void showCritical(const QString &text);
/// Shows `text` with a word on where to find help and sends it as an error report. `text` is plain text
/// in which `<br/>` breaks the line; of a long one the box has the start, and all of it among the details.
void showError(const QString &text, const QString &details = {});

/// True for Yes.
bool askYesNo(const QString &text);
/// The same under its short name.
bool ask(const QString &text);

/// `text` as it stands, but for `<br/>` and line ends, which break the line, entities, and links to pages of
/// the product's web site.
QString plainInBox(const QString &text);
