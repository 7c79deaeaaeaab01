#include "views/FilePicker.h"

#include "platform/Paths.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

bool isBundle(const QString& path)
{
    const QFileInfo file(QDir::cleanPath(path));
    return file.suffix().compare(u"app"_s, Qt::CaseInsensitive) == 0 && file.isDir();
}

/// Takes a marked, typed or entered application instead of showing its folder.
class BundleDialog : public QFileDialog {
public:
    BundleDialog(QWidget* parent, const QString& title, FilePicker::Receive receive)
        : QFileDialog(parent, title)
        , m_receive(std::move(receive))
    {
        connect(this, &QFileDialog::directoryEntered, this, [this](const QString& folder) {
            if (isBundle(folder))
                take(folder);
        });
    }

    void accept() override
    {
        const QStringList marked = selectedFiles();
        if (const QString path = typedPath(); isBundle(path))
            take(path);
        else if (marked.size() == 1 && isBundle(marked.first()))
            take(marked.first());
        else
            QFileDialog::accept();
    }

private:
    /// Qt doesn't count a typed folder as a chosen one.
    QString typedPath() const
    {
        const auto* name = findChild<QLineEdit*>(u"fileNameEdit"_s);
        const QString typed = name != nullptr ? name->text() : QString();
        if (typed.isEmpty())
            return {};
        return directory().absoluteFilePath(withHomeFolder(typed));
    }

    void take(const QString& bundle)
    {
        close();
        m_receive(QUrl::fromLocalFile(QDir::cleanPath(bundle)));
    }

    FilePicker::Receive m_receive;
};

QString withExtension(const QString& name, const QString& extension)
{
    const QString ending = u'.' + extension;
    return name.endsWith(ending, Qt::CaseInsensitive) ? name : name + ending;
}

/// Completes a typed name before it asks whether a file may be replaced: Qt takes what follows any
/// dot, as in "Tool 2.1", for an extension.
class SaveDialog : public QFileDialog {
public:
    SaveDialog(QWidget* parent, const FilePicker::SaveRequest& request)
        : QFileDialog(parent, request.title)
        , m_extension(request.type.extension)
    { }

    void accept() override
    {
        auto* name = findChild<QLineEdit*>(u"fileNameEdit"_s);
        const bool isFile = name != nullptr && !name->text().isEmpty()
            && !QFileInfo(directory().absoluteFilePath(name->text())).isDir();
        if (isFile)
            name->setText(withExtension(name->text(), m_extension));
        QFileDialog::accept();
    }

private:
    QString m_extension;
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

/// The desktop's own dialog asks for the name as it was typed; whether the completed one may be
/// replaced is asked here.
void receiveCompleted(QWidget* parent, const QString& typed, const QString& extension,
    const FilePicker::Receive& receive)
{
    const QString path = withExtension(typed, extension);
    const QUrl location = QUrl::fromLocalFile(path);
    if (path == typed || !QFileInfo::exists(path)) {
        receive(location);
        return;
    }
    auto* question = new QMessageBox(QMessageBox::Warning, QString(),
        u"%1 already exists.\nDo you want to replace it?"_s.arg(QFileInfo(path).fileName()),
        QMessageBox::Yes | QMessageBox::No, parent);
    question->setTextFormat(Qt::PlainText);
    question->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(question, &QDialog::finished, question, [receive, location](int answer) {
        if (answer == QMessageBox::Yes)
            receive(location);
    });
    question->open();
}

QString filterFor(const FilePicker::FileType& type)
{
    return u"%1 (*.%2 *.%3)"_s.arg(type.name, type.extension, type.extension.toUpper());
}

} // namespace

void FilePicker::openFileOrBundle(QWidget* parent, const QString& title, Receive receive)
{
    auto* dialog = new BundleDialog(parent, title, receive);
    prepare(dialog, std::move(receive));
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setFileMode(QFileDialog::ExistingFile);
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
    auto* dialog = new SaveDialog(parent, request);
    prepare(dialog,
        [parent = QPointer(parent), receive = std::move(receive),
            extension = request.type.extension](const QUrl& chosen) {
            receiveCompleted(parent, chosen.toLocalFile(), extension, receive);
        });
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilter(filterFor(request.type));
    dialog->setDefaultSuffix(request.type.extension);
    if (QFileInfo(request.folder).isDir())
        dialog->setDirectory(request.folder);
    dialog->selectFile(request.name);
    dialog->open();
}
