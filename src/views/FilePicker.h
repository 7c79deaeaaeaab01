#pragma once

#include <QString>
#include <QUrl>

#include <functional>

class QWidget;

/// The dialogs in which files and folders are chosen. Each returns at once and calls back when
/// the user has confirmed; cancelling calls nothing. `parent` owns the dialog.
namespace FilePicker {

using Receive = std::function<void(const QUrl&)>;

/// The only kind of file on offer: "Disk Image", "dmg".
struct FileType {
    QString name;
    QString extension;
};

/// One file; an application's bundle counts as one and is never entered. The program's own
/// dialog, since the desktop's would only open such a folder.
void openFileOrBundle(QWidget* parent, const QString& title, Receive receive);
/// One file, by the desktop's own dialog where there is one; of any type without a type.
void openFile(QWidget* parent, const QString& title, Receive receive, const FileType& type = {});
/// One folder.
void openFolder(QWidget* parent, const QString& title, const QString& startIn, Receive receive);

/// Where to save, with a proposed name. Asks before an existing file is replaced.
struct SaveRequest {
    QString title;
    QString folder; // where the dialog starts; empty for the user's own
    QString name;
    FileType type;
};
void save(QWidget* parent, const SaveRequest& request, Receive receive);

} // namespace FilePicker
