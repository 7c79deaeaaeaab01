#include "views/SigningView.h"

#include "model/ConfigWrapper.h"
#include "signing/SigningManager.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/FileDrop.h"
#include "views/FilePicker.h"
#include "views/IdentityPicker.h"
#include "views/ImageRow.h"
#include "views/Labels.h"
#include "views/LogView.h"
#include "views/StatusBadge.h"
#include "views/StepView.h"
#include "views/Theme.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

bool isImage(const QUrl& file)
{
    const QFileInfo named(file.toLocalFile());
    return named.suffix().toLower() == "dmg"_L1 && !named.completeBaseName().isEmpty();
}

} // namespace

SigningView::SigningView(ConfigWrapper& job, SigningManager& signing,
    KeychainPrimerSheet::Host keychain, CancellationHandle stop, QWidget* parent)
    : QWidget(parent)
    , m_job(job)
    , m_signing(signing)
    , m_keychain(new KeychainGate(keychain, this))
    , m_stop(std::move(stop))
    , m_logs(new LogView(u"Signing Logs"_s))
{
    setAcceptDrops(true);
    QVBoxLayout* layout = makeStepLayout(this);
    layout->addWidget(new SectionHeader(u"Code Signing"_s,
        u"Sign your DMG with a Developer ID Application certificate to prepare it for notarization."_s));
    m_imageCard = makeImageCard();
    layout->addWidget(m_imageCard);
    m_emptyCard = makeEmptyCard();
    layout->addWidget(m_emptyCard);
    layout->addWidget(makeSigningCard());
    auto* logs = new Card(u"Signing Logs"_s);
    logs->add(m_logs);
    layout->addWidget(logs, 1);

    connect(&m_job, &ConfigWrapper::configChanged, this, &SigningView::refresh);
    for (const auto changed : {&SigningManager::logsChanged, &SigningManager::isSigningChanged,
             &SigningManager::signSuccessChanged})
        connect(&m_signing, changed, this, &SigningView::refresh);
    connect(m_keychain, &KeychainGate::isProbingChanged, this, &SigningView::refresh);
    refresh();
}

QWidget* SigningView::makeImageCard()
{
    auto* card = new Card(u"Disk Image"_s);
    m_image = new ImageRow;
    card->add(m_image);
    m_status = new StatusBadge;
    card->add(m_status);
    return card;
}

QWidget* SigningView::makeEmptyCard()
{
    auto* card = new Card;
    auto* empty = new EmptyState(u"signature"_s, u"No DMG Built Recently"_s,
        u"You can drag & drop an existing DMG here to sign it."_s);
    QPushButton* select = makeButton(u"Select DMG File..."_s);
    connect(select, &QPushButton::clicked, this, &SigningView::selectImage);
    empty->add(select);
    card->add(empty);
    return card;
}

QWidget* SigningView::makeSigningCard()
{
    auto* card = new Card(u"Signing Identity"_s);
    auto* row = new QHBoxLayout;
    m_identities = new IdentityPicker(m_signing);
    connect(m_identities, &IdentityPicker::identityChosen, this,
        [this](const auto& identity) { m_signing.selectIdentity(identity); });
    row->addWidget(m_identities, 1);
    m_sign = new BusyButton(u"Sign DMG"_s, u"signature"_s);
    connect(m_sign, &QPushButton::clicked, this, &SigningView::sign);
    row->addWidget(m_sign);
    card->add(row);
    return card;
}

void SigningView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        m_identities->prepare();
}

void SigningView::refresh()
{
    const std::optional<QUrl>& image = m_job.config().outputURL;
    m_imageCard->setVisible(image.has_value());
    m_emptyCard->setVisible(!image);
    m_image->setImage(image);
    const bool isSigning = m_signing.isSigning();
    m_status->setStatus(isSigning ? u"Signing in progress..."_s : u"Ready to Sign"_s,
        isSigning ? Theme::Colour::orange : Theme::Colour::secondary);
    m_logs->setLog(m_signing.logs());
    m_sign->setBusy(isSigning || m_keychain->isProbing());
}

void SigningView::selectImage()
{
    FilePicker::openFile(this, u"Select DMG File"_s,
        [this](const QUrl& image) { take(image); }, // a typed name may be any file's
        {u"Disk Image"_s, u"dmg"_s});
}

void SigningView::dragEnterEvent(QDragEnterEvent* event)
{
    if (FileDrop::filesIn(*event->mimeData()).isEmpty())
        return;
    FileDrop::takeCopy(*event);
    setTargeted(true);
}

void SigningView::dragLeaveEvent(QDragLeaveEvent*)
{
    setTargeted(false);
}

void SigningView::setTargeted(bool targeted)
{
    m_isTargeted = targeted;
    update();
}

/// In the margin around the cards, which lets it through.
void SigningView::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    if (!m_isTargeted)
        return;
    constexpr int inset = Theme::Space::medium / 2;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::Colour::accentInk, 2));
    painter.setBrush(Theme::Colour::card);
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset),
        Theme::Radius::card, Theme::Radius::card);
}

void SigningView::dropEvent(QDropEvent* event)
{
    setTargeted(false);
    const QList<QUrl> dropped = FileDrop::filesIn(*event->mimeData());
    if (dropped.isEmpty())
        return;
    FileDrop::takeCopy(*event);
    const auto image = std::ranges::find_if(dropped, isImage);
    take(image == dropped.end() ? dropped.first() : *image);
}

void SigningView::take(const QUrl& image)
{
    if (!isImage(image)) {
        showError(u"Please drop a valid .dmg file."_s);
        return;
    }
    m_job.editLater([image](DMGConfig& config) { config.outputURL = image; });
}

void SigningView::sign()
{
    if (!m_identities->selectedIdentity())
        return;
    if (m_job.config().outputURL)
        m_keychain->pass([this] { signNow(this); });
    else
        showError(u"No DMG selected. Please build the DMG first."_s);
}

QCoro::Task<> SigningView::signNow(QPointer<SigningView> self)
{
    const std::optional<QUrl> image = self->m_job.config().outputURL;
    const std::optional<SigningIdentity> identity = self->m_identities->selectedIdentity();
    if (!image || !identity)
        co_return;
    QString failure;
    try {
        co_await self->m_signing.signDMG(*image, *identity);
    } catch (const ShellError& error) {
        failure = error.description();
    }
    if (self && !failure.isEmpty() && !self->m_stop->isRequested())
        self->showError(failure);
}

void SigningView::showError(const QString& message)
{
    showAlert(this, u"Signing Error"_s, message);
}
