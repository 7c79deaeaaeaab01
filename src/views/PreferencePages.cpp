#include "views/PreferencePages.h"

#include "model/DMGConfig.h"
#include "model/SettingsManager.h"
#include "platform/MainQueue.h"
#include "platform/Paths.h"
#include "views/Buttons.h"
#include "views/Field.h"
#include "views/FilePicker.h"
#include "views/NumberField.h"
#include "views/SegmentedPicker.h"
#include "views/SettingsBlocks.h"
#include "views/Toggle.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Compression {
    QLatin1StringView label;
    QLatin1StringView code;
};

constexpr std::array compressions{
    Compression{"UDZO (Standard, Zlib)"_L1, "UDZO"_L1},
    Compression{"ULFO (Fast, Lzfse)"_L1, "ULFO"_L1},
    Compression{"UDBZ (Max, Bzip2)"_L1, "UDBZ"_L1},
};

QStringList compressionLabels()
{
    QStringList labels;
    for (const Compression& each : compressions)
        labels.append(each.label);
    return labels;
}

QVBoxLayout* pageLayout(QWidget* page)
{
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::large);
    return layout;
}

/// A number with its caption below it.
QWidget* captioned(NumberField* field, const QString& caption)
{
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(field);
    layout->addWidget(new HelperText(caption));
    return column;
}

/// None where the application has no icon.
QLabel* applicationIcon()
{
    constexpr int edge = 96;
    const QIcon icon = QApplication::windowIcon();
    if (icon.isNull())
        return nullptr;
    auto* label = new QLabel;
    label->setFixedSize(edge, edge);
    label->setPixmap(icon.pixmap(QSize(edge, edge), qApp->devicePixelRatio()));
    return label;
}

} // namespace

WorkflowSettingsPage::WorkflowSettingsPage(SettingsManager& settings, QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_folder(new QLineEdit)
    , m_skip(new Toggle(u"Source is already Signed & Notarized"_s))
{
    QVBoxLayout* layout = pageLayout(this);
    auto* naming = new SettingsCard(u"Naming Conventions"_s);
    m_template = addField(*naming, u"DMG Naming Template"_s, u"${APP_NAME}_${VERSION}.dmg"_s,
        u"Available variables: ${APP_NAME}, ${VERSION}, ${DATE}"_s);
    layout->addWidget(naming);

    auto* output = new SettingsCard(u"Output & Actions"_s);
    auto* place = new QWidget;
    auto* row = new QHBoxLayout(place);
    row->setContentsMargins(0, 0, 0, 0);
    m_folder->setAccessibleName(u"Default Output Directory"_s);
    m_folder->setPlaceholderText(u"~/Desktop"_s);
    m_folder->setMinimumWidth(240);
    row->addWidget(m_folder, 1);
    QPushButton* choose = makeButton(u"Choose..."_s);
    row->addWidget(choose);
    output->add(new SettingsRow(u"Default Output Directory"_s, place, u"folder"_s));
    output->add(new DividerRow);
    auto* skip = new QVBoxLayout;
    skip->setSpacing(Theme::Space::tight);
    skip->addWidget(new SettingsRow(
        u"Source is already Signed & Notarized"_s, m_skip, u"checkmark.seal.fill"_s));
    skip->addWidget(new HelperText(
        u"Enable this if you are importing .app bundles already signed and notarized via Xcode. This will skip Steps 2 & 3 in the build wizard."_s));
    output->add(skip);
    layout->addWidget(output);
    layout->addStretch();

    connect(m_template, &QLineEdit::textEdited, &settings, &SettingsManager::setNamingTemplate);
    connect(
        m_folder, &QLineEdit::textEdited, &settings, &SettingsManager::setDefaultOutputDirectory);
    connect(m_skip, &QAbstractButton::toggled, &settings, &SettingsManager::setSkipAppValidation);
    connect(choose, &QPushButton::clicked, this, &WorkflowSettingsPage::chooseFolder);
    for (const auto changed :
        {&SettingsManager::namingTemplateChanged, &SettingsManager::defaultOutputDirectoryChanged,
            &SettingsManager::skipAppValidationChanged})
        connect(&settings, changed, this, &WorkflowSettingsPage::refresh);
    refresh();
}

void WorkflowSettingsPage::refresh()
{
    if (m_template->text() != m_settings.namingTemplate())
        m_template->setText(m_settings.namingTemplate());
    if (m_folder->text() != m_settings.defaultOutputDirectory())
        m_folder->setText(m_settings.defaultOutputDirectory());
    m_skip->setChecked(m_settings.skipAppValidation());
}

void WorkflowSettingsPage::chooseFolder()
{
    FilePicker::openFolder(this, u"Default Output Directory"_s,
        withHomeFolder(m_settings.defaultOutputDirectory()),
        [this](const QUrl& folder) { m_settings.setDefaultOutputDirectory(folder.toLocalFile()); });
}

BuildSettingsPage::BuildSettingsPage(SettingsManager& settings, QWidget* parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_compression(new SegmentedPicker(u"Default Algorithm"_s, compressionLabels()))
    , m_width(new NumberField(u"Width"_s, NumberField::Kind::real))
    , m_height(new NumberField(u"Height"_s, NumberField::Kind::real))
{
    QVBoxLayout* layout = pageLayout(this);
    auto* strategy = new SettingsCard(u"Compression Strategy"_s);
    strategy->add(new Field(u"Default Algorithm"_s, m_compression,
        u"UDZO is best for compatibility. ULFO is faster but requires newer macOS versions."_s));
    layout->addWidget(strategy);

    for (NumberField* side : {m_width, m_height})
        side->setRange(1, DMGConfig::largestCoordinate);
    auto* window = new SettingsCard(u"Window Specification"_s);
    auto* sizes = new QWidget;
    auto* row = new QHBoxLayout(sizes);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(captioned(m_width, u"Width"_s));
    row->addWidget(captioned(m_height, u"Height"_s));
    window->add(new SettingsRow(u"Default Window Size (Points)"_s, sizes));
    layout->addWidget(window);
    layout->addStretch();

    connect(m_compression, &SegmentedPicker::chosen, this, [&settings](int index) {
        // Not within the picker's own change.
        MainQueue::post([target = QPointer(&settings), index] {
            if (target)
                target->setDefaultCompression(compressions[static_cast<size_t>(index)].code);
        });
    });
    connect(
        m_width, &NumberField::numberEdited, &settings, &SettingsManager::setDefaultWindowWidth);
    connect(
        m_height, &NumberField::numberEdited, &settings, &SettingsManager::setDefaultWindowHeight);
    for (const auto changed :
        {&SettingsManager::defaultCompressionChanged, &SettingsManager::defaultWindowWidthChanged,
            &SettingsManager::defaultWindowHeightChanged})
        connect(&settings, changed, this, &BuildSettingsPage::refresh);
    refresh();
}

void BuildSettingsPage::refresh()
{
    const auto found =
        std::ranges::find(compressions, m_settings.defaultCompression(), &Compression::code);
    m_compression->setCurrent(
        found == compressions.end() ? -1 : static_cast<int>(found - compressions.begin()));
    m_width->setNumber(m_settings.defaultWindowWidth());
    m_height->setNumber(m_settings.defaultWindowHeight());
}

EnvironmentSettingsPage::EnvironmentSettingsPage(ClearCache clearCache, QWidget* parent)
    : QWidget(parent)
    , m_clearCache(std::move(clearCache))
    , m_clear(makeButton(u"Clear Cache"_s, ButtonKind::destructive))
    , m_result(new HelperText({}))
{
    QVBoxLayout* layout = pageLayout(this);
    auto* card = new SettingsCard(u"Maintenance"_s);
    card->add(new SettingsRow(u"Build Cache"_s, m_clear));
    card->add(new HelperText(u"Clear temporary artifacts from /tmp/VandorDMG."_s));
    card->add(m_result);
    m_result->hide();
    layout->addWidget(card);
    layout->addStretch();
    connect(m_clear, &QPushButton::clicked, this, [this] {
        if (m_clear->hasFocus())
            setFocus();
        m_clear->setEnabled(false);
        clearing(this, m_clearCache());
    });
}

QCoro::Task<> EnvironmentSettingsPage::clearing(
    QPointer<EnvironmentSettingsPage> self, QCoro::Task<QString> operation)
{
    const QString result = co_await operation;
    if (!self)
        co_return;
    self->m_result->setText(result);
    self->m_result->show();
    self->m_clear->setEnabled(true);
    if (self->hasFocus())
        self->m_clear->setFocus();
}

AboutSettingsPage::AboutSettingsPage(SettingsManager& settings, QWidget* parent)
    : QWidget(parent)
{
    auto* texts = new QVBoxLayout;
    texts->setSpacing(Theme::Space::tight);
    texts->addWidget(makeLabel(u"Vandor DMG"_s, Theme::Type::hugeTitle));
    const QString version = QCoreApplication::applicationVersion();
    const QVariant build = QCoreApplication::instance()->property("buildNumber");
    texts->addWidget(makeLabel(u"Version %1 (%2)"_s.arg(version.isEmpty() ? u"1.0.0"_s : version,
                                   build.isValid() ? build.toString() : u"1"_s),
        Theme::Type::body, Theme::Colour::secondary));
    QLabel* count = makeLabel({}, Theme::Type::body);
    texts->addWidget(count);

    auto* row = new QHBoxLayout;
    row->setSpacing(Theme::Space::large);
    if (QLabel* icon = applicationIcon())
        row->addWidget(icon);
    row->addLayout(texts, 1);
    auto* card = new SettingsCard;
    card->add(row);
    QVBoxLayout* layout = pageLayout(this);
    layout->addWidget(card);
    layout->addStretch();

    const auto refresh = [count, &settings] {
        count->setText(u"%1 DMGs Created"_s.arg(settings.totalBuilds()));
    };
    connect(&settings, &SettingsManager::totalBuildsChanged, count, refresh);
    refresh();
}
