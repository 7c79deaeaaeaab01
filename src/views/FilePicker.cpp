#include "views/FilePicker.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

bool isBundle(const QString& path)
{
    return QFileInfo(QDir::cleanPath(path)).suffix().compare(u"app"_s, Qt::CaseInsensitive) == 0;
}

/// Takes a marked or typed application instead of entering its folder.
class BundleDialog : public QFileDialog {
public:
    using QFileDialog::QFileDialog;

    void accept() override
    {
        const QStringList chosen = selectedFiles();
        if (chosen.size() == 1 && isBundle(chosen.first()))
            done(QDialog::Accepted);
        else
            QFileDialog::accept();
    }
};

void prepare(QFileDialog* dialog, FilePicker::Receive receive)
{
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // Qt's own dialog tells of paths, the desktop's of locations: both have them when they end.
    QObject::connect(dialog, &QDialog::accepted, dialog, [dialog, receive = std::move(receive)] {
        const QList<QUrl> chosen = dialog->selectedUrls();
        if (!chosen.isEmpty())
            receive(chosen.first());
    });
}

QFileDialog* makeDialog(QWidget* parent, const QString& title, FilePicker::Receive receive)
{
    auto* dialog = new QFileDialog(parent, title);
    prepare(dialog, std::move(receive));
    return dialog;
}

QString filterFor(const FilePicker::FileType& type)
{
    return u"%1 (*.%2 *.%3)"_s.arg(type.name, type.extension, type.extension.toUpper());
}

/// A double click on a folder makes the dialog enter it: an application's is taken instead.
void takeBundlesWhole(QFileDialog* dialog, FilePicker::Receive receive)
{
    QObject::connect(dialog, &QFileDialog::directoryEntered, dialog,
        [dialog, receive = std::move(receive)](const QString& folder) {
            if (!isBundle(folder))
                return;
            dialog->close();
            receive(QUrl::fromLocalFile(folder));
        });
}

} // namespace

void FilePicker::openFileOrBundle(QWidget* parent, const QString& title, Receive receive)
{
    auto* dialog = new BundleDialog(parent, title);
    prepare(dialog, receive);
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setFileMode(QFileDialog::ExistingFile);
    takeBundlesWhole(dialog, std::move(receive));
    dialog->open();
}

void FilePicker::openFile(
    QWidget* parent, const QString& title, Receive receive, const FileType& type)
{
    QFileDialog* dialog = makeDialog(parent, title, std::move(receive));
    dialog->setFileMode(QFileDialog::ExistingFile);
    if (!type.extension.isEmpty())
        dialog->setNameFilter(filterFor(type));
    dialog->open();
}

void FilePicker::openFolder(
    QWidget* parent, const QString& title, const QString& startIn, Receive receive)
{
    QFileDialog* dialog = makeDialog(parent, title, std::move(receive));
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    if (QFileInfo(startIn).isDir())
        dialog->setDirectory(startIn);
    dialog->open();
}

void FilePicker::save(QWidget* parent, const SaveRequest& request, Receive receive)
{
    QFileDialog* dialog = makeDialog(parent, request.title, std::move(receive));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilter(filterFor(request.type));
    dialog->setDefaultSuffix(request.type.extension);
    if (QFileInfo(request.folder).isDir())
        dialog->setDirectory(request.folder);
    dialog->selectFile(request.name);
    dialog->open();
}
