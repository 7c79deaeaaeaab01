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
#include "views/Theme.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool isImage(const QUrl& file)
{
    return QFileInfo(file.toLocalFile()).suffix().toLower() == "dmg"_L1;
}

} // namespace

SigningView::SigningView(ConfigWrapper& job, SigningManager& signing,
    KeychainPrimerSheet::Host keychain, QWidget* parent)
    : StepView(parent)
    , m_job(job)
    , m_signing(signing)
    , m_keychain(new KeychainGate(keychain, this))
    , m_status(new StatusBadge)
    , m_identities(new IdentityPicker(signing))
    , m_logs(new LogView(u"Signing Logs"_s))
    , m_sign(new BusyButton(u"Sign DMG"_s, u"signature"_s))
{
    setAcceptDrops(true);
    content()->addWidget(new SectionHeader(u"Code Signing"_s,
        u"Sign your DMG with a Developer ID Application certificate to prepare it for notarization."_s));
    auto* image = new Card(u"Disk Image"_s);
    image->add(new ImageRow(job));
    image->add(m_status);
    content()->addWidget(image);

    auto* card = new Card(u"Signing Identity"_s);
    auto* row = new QHBoxLayout;
    row->addWidget(m_identities, 1);
    row->addWidget(m_sign);
    card->add(row);
    content()->addWidget(card);
    auto* logs = new Card(u"Signing Logs"_s);
    logs->add(m_logs);
    content()->addWidget(logs, 1);

    auto* empty = new EmptyState(u"signature"_s, u"No DMG Built Recently"_s,
        u"You can drag & drop an existing DMG here to sign it."_s);
    QPushButton* select = makeButton(u"Select DMG File..."_s);
    connect(select, &QPushButton::clicked, this, &SigningView::selectImage);
    empty->add(select);
    setEmptyPage(empty);

    connect(m_sign, &QPushButton::clicked, this, &SigningView::sign);
    connect(m_identities, &IdentityPicker::identityChosen, this,
        [this](const auto& identity) { m_signing.selectIdentity(identity); });
    connect(&m_job, &ConfigWrapper::configChanged, this, &SigningView::refresh);
    connect(&m_signing, &SigningManager::logsChanged, this, &SigningView::refresh);
    connect(&m_signing, &SigningManager::isSigningChanged, this, &SigningView::refresh);
    connect(&m_signing, &SigningManager::signSuccessChanged, this, &SigningView::refresh);
    refresh();
}

void SigningView::refresh()
{
    showContent(m_job.config().outputURL.has_value());
    const bool isSigning = m_signing.isSigning();
    m_status->setStatus(isSigning ? u"Signing in progress..."_s : u"Ready to Sign"_s,
        isSigning ? Theme::Colour::orange : Theme::Colour::secondary);
    m_logs->setLog(m_signing.logs());
    m_sign->setBusy(isSigning);
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
    StepView::paintEvent(event);
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
    m_job.edit([&](DMGConfig& config) { config.outputURL = image; });
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
    if (self && !failure.isEmpty())
        self->showError(failure);
}

void SigningView::showError(const QString& message)
{
    showAlert(this, u"Signing Error"_s, message);
}
