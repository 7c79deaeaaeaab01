#include "views/ImageRow.h"

#include "platform/Pasteboard.h"
#include "views/Buttons.h"
#include "views/Labels.h"
#include "views/Symbol.h"

#include <QFileInfo>
#include <QHBoxLayout>

using namespace Qt::StringLiterals;

ImageRow::ImageRow(int symbolColumn, QWidget* parent)
    : QWidget(parent)
    , m_name(new ElidedLabel(Theme::Type::body))
    , m_folder(new ElidedLabel(Theme::Type::caption))
{
    Theme::style(*m_folder, Theme::Type::caption, Theme::Colour::secondary);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(m_name);
    texts->addWidget(m_folder);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::medium);
    const int inset = (symbolColumn - narrowestColumn) / 2;
    layout->addSpacing(inset);
    layout->addWidget(
        new SymbolLabel(u"arrow.down.doc"_s, Theme::Colour::secondary, narrowestColumn));
    layout->addSpacing(inset);
    layout->addLayout(texts, 1);
    auto* copy = new SymbolButton(u"doc.on.clipboard"_s, u"Copy Path"_s);
    connect(copy, &QPushButton::clicked, this, [this] {
        if (m_image)
            Pasteboard::copy(m_image->toLocalFile());
    });
    layout->addWidget(copy);
}

void ImageRow::setImage(const std::optional<QUrl>& image)
{
    m_image = image;
    const QFileInfo file(image ? image->toLocalFile() : QString());
    m_name->setFullText(image ? file.fileName() : QString());
    m_folder->setFullText(image ? file.path() : QString());
}
