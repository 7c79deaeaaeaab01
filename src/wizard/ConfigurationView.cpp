#include "wizard/ConfigurationView.h"

#include "model/ConfigWrapper.h"
#include "platform/Pasteboard.h"
#include "platform/Paths.h"
#include "views/Buttons.h"
#include "views/Card.h"
#include "views/FadingScrollArea.h"
#include "views/Field.h"
#include "views/Labels.h"
#include "views/NumberField.h"
#include "views/SegmentedPicker.h"
#include "views/Symbol.h"
#include "wizard/LayoutPreview.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSlider>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace {

/// Who scrolls the form over it doesn't mean to move it.
class CalmSlider : public QSlider {
public:
    using QSlider::QSlider;

protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

constexpr int formWidth = 400;

QString pathOrNothing(const std::optional<QUrl>& location)
{
    return location ? pathOf(*location) : QString();
}

QStringList layoutNames()
{
    QStringList names;
    for (const IconLayout layout : allIconLayouts)
        names.append(rawValue(layout));
    return names;
}

/// All as wide, so that the numbers stand in columns.
QLabel* unitOf(const QString& name)
{
    constexpr int width = 20;
    QLabel* label = makeLabel(name, Theme::Type::body);
    label->setMinimumWidth(width);
    return label;
}

QHBoxLayout* rowOf(std::initializer_list<QWidget*> widgets)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(Theme::Space::small);
    for (QWidget* each : widgets)
        row->addWidget(each);
    row->addStretch();
    return row;
}

} // namespace

ConfigurationView::ConfigurationView(ConfigWrapper& job, FileIcons& icons, QWidget* parent)
    : QWidget(parent)
    , m_job(job)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(
        Theme::Space::page, Theme::Space::page, Theme::Space::page, Theme::Space::medium);
    layout->setSpacing(Theme::Space::large);
    layout->addWidget(new SectionHeader(u"Configuration"_s,
        u"Customize the layout, background, and icon positions for your DMG."_s));
    auto* columns = new QHBoxLayout;
    columns->setSpacing(Theme::Space::large);
    columns->addWidget(makeForm());
    columns->addWidget(makePreview(icons), 1);
    layout->addLayout(columns, 1);

    connect(&m_job, &ConfigWrapper::configChanged, this, &ConfigurationView::refresh);
    refresh();
}

QWidget* ConfigurationView::makeForm()
{
    auto* form = new QWidget;
    auto* layout = new QVBoxLayout(form);
    layout->setContentsMargins(0, 0, Theme::Space::large, 0); // room for the scroll bar
    layout->setSpacing(Theme::Space::medium);

    auto* assets = new Card(u"Selected Assets"_s);
    m_application = makeAssetRow(u"app.fill"_s, u"Copy App Path"_s,
        [](const DMGConfig& config) { return pathOrNothing(config.appURL); });
    m_background = makeAssetRow(u"photo"_s, u"Copy Background Path"_s,
        [](const DMGConfig& config) { return pathOrNothing(config.backgroundURL); });
    m_noAssets =
        makeLabel(u"No assets selected."_s, Theme::Type::caption, Theme::Colour::secondary);
    assets->add(m_application.whole);
    assets->add(m_background.whole);
    assets->add(m_noAssets);
    layout->addWidget(assets);

    auto* general = new Card(u"General Settings"_s);
    m_volumeName = new QLineEdit;
    m_volumeName->setAccessibleName(u"Volume Name"_s);
    connect(m_volumeName, &QLineEdit::textEdited, this, [this](const QString& name) {
        m_job.editLater([name](DMGConfig& config) { config.volumeName = name; });
    });
    general->add(new Field(u"Volume Name"_s, m_volumeName));
    m_layout = new SegmentedPicker(u"Layout Preset"_s, layoutNames());
    connect(m_layout, &SegmentedPicker::chosen, this, [this](int index) {
        const IconLayout chosen = allIconLayouts[static_cast<size_t>(index)];
        m_job.editLater([chosen](DMGConfig& config) { config.chooseArrangement(chosen); });
    });
    general->add(new Field(u"Layout Preset"_s, m_layout));
    layout->addWidget(general);

    auto* window = new Card(u"Window Dimensions"_s);
    m_width = makeNumber(u"Width"_s,
        [](DMGConfig& config, double value) { config.resizeWidth(static_cast<qint64>(value)); });
    m_height = makeNumber(u"Height"_s,
        [](DMGConfig& config, double value) { config.resizeHeight(static_cast<qint64>(value)); });
    for (NumberField* side : {m_width, m_height})
        side->setRange(1, DMGConfig::largestCoordinate);
    window->add(rowOf({unitOf(u"W:"_s), m_width, unitOf(u"H:"_s), m_height}));
    layout->addWidget(window);

    auto* icons = new Card(u"Icon Layout"_s);
    m_appX = makeNumber(u"App Icon X"_s, &DMGConfig::moveAppX);
    m_appY = makeNumber(u"App Icon Y"_s, &DMGConfig::moveAppY);
    m_linkX = makeNumber(u"Applications Folder X"_s, &DMGConfig::moveLinkX);
    m_linkY = makeNumber(u"Applications Folder Y"_s, &DMGConfig::moveLinkY);
    icons->add(coordinates(u"App Icon"_s, m_appX, m_appY));
    icons->add(coordinates(u"Applications Folder"_s, m_linkX, m_linkY));
    layout->addWidget(icons);

    auto* sizes = new Card(u"Text & Size"_s);
    m_iconSize = makeSlider(
        u"Icon:"_s, 48, 256, 16, [](DMGConfig& config, int value) { config.iconSize = value; });
    m_fontSize = makeSlider(
        u"Font:"_s, 10, 16, 1, [](DMGConfig& config, int value) { config.fontSize = value; });
    for (const auto& [name, slider] :
        {std::pair(u"Icon:"_s, m_iconSize), std::pair(u"Font:"_s, m_fontSize)}) {
        auto* row = new QHBoxLayout;
        QLabel* label = makeLabel(name, Theme::Type::body);
        label->setMinimumWidth(44);
        row->addWidget(label);
        row->addWidget(slider.slider, 1);
        row->addWidget(slider.value);
        sizes->add(row);
    }
    layout->addWidget(sizes);
    layout->addStretch();

    auto* scroll = new FadingScrollArea(Qt::Vertical);
    scroll->setWidget(form);
    scroll->setMinimumWidth(formWidth);
    scroll->setMaximumWidth(formWidth + 60);
    return scroll;
}

QWidget* ConfigurationView::makePreview(FileIcons& icons)
{
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::small);
    layout->addWidget(makeLabel(u"Preview"_s, Theme::Type::title));
    m_preview = new LayoutPreview(icons);
    layout->addWidget(m_preview, 1);
    layout->addWidget(new HelperText(u"Note: This preview is an approximation."_s));
    return column;
}

ConfigurationView::AssetRow ConfigurationView::makeAssetRow(const QString& symbol,
    const QString& copyPurpose, std::function<QString(const DMGConfig&)> path)
{
    AssetRow row;
    row.whole = new QWidget;
    auto* layout = new QHBoxLayout(row.whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new SymbolLabel(symbol, Theme::Colour::secondary, 18));
    row.name = new ElidedLabel(Theme::Type::body);
    layout->addWidget(row.name, 1);
    auto* copy = new SymbolButton(u"doc.on.clipboard"_s, copyPurpose);
    connect(copy, &QPushButton::clicked, this,
        [this, path = std::move(path)] { Pasteboard::copy(path(m_job.config())); });
    layout->addWidget(copy);
    return row;
}

NumberField* ConfigurationView::makeNumber(
    const QString& name, const std::function<void(DMGConfig&, double)>& change)
{
    auto* field = new NumberField(name, NumberField::Kind::integer);
    field->setRange(-DMGConfig::largestCoordinate, DMGConfig::largestCoordinate);
    connect(field, &NumberField::numberEdited, this, [this, change](double value) {
        m_job.editLater([change, value](DMGConfig& config) { change(config, value); });
    });
    return field;
}

ConfigurationView::Slider ConfigurationView::makeSlider(const QString& name, int first, int last,
    int step, const std::function<void(DMGConfig&, int)>& change)
{
    constexpr int valueWidth = 35;
    Slider made{new CalmSlider(Qt::Horizontal), makeLabel({}, Theme::Type::body)};
    made.value->setFixedWidth(valueWidth);
    made.value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    made.slider->setRange(first, last);
    made.slider->setSingleStep(step);
    made.slider->setPageStep(step);
    made.slider->setAccessibleName(name.chopped(1) + u" size"_s);
    connect(made.slider, &QSlider::valueChanged, this,
        [this, first, step, change, slider = made.slider](int position) {
            const int value = first + qRound(static_cast<double>(position - first) / step) * step;
            if (value != position) {
                slider->setValue(value); // no other can be reached
                return;
            }
            m_job.editLater([change, value](DMGConfig& config) { change(config, value); });
        });
    return made;
}

QWidget* ConfigurationView::coordinates(const QString& title, NumberField* x, NumberField* y)
{
    return new Field(title, rowOf({unitOf(u"X"_s), x, unitOf(u"Y"_s), y}));
}

void ConfigurationView::refresh()
{
    const DMGConfig& config = m_job.config();
    m_application.whole->setVisible(config.appURL.has_value());
    m_application.name->setFullText(QFileInfo(pathOrNothing(config.appURL)).fileName());
    m_background.whole->setVisible(config.backgroundURL.has_value());
    m_background.name->setFullText(QFileInfo(pathOrNothing(config.backgroundURL)).fileName());
    m_noAssets->setVisible(!config.appURL && !config.backgroundURL);

    const bool isBeingTyped = m_volumeName->hasFocus() && m_volumeName->isModified();
    if (m_volumeName->text() != config.volumeName && !isBeingTyped)
        m_volumeName->setText(config.volumeName);
    m_layout->setCurrent(static_cast<int>(config.layout));
    m_width->setNumber(static_cast<double>(config.windowWidth));
    m_height->setNumber(static_cast<double>(config.windowHeight));
    m_appX->setNumber(config.appIconPosition.x());
    m_appY->setNumber(config.appIconPosition.y());
    m_linkX->setNumber(config.appsSymlinkPosition.x());
    m_linkY->setNumber(config.appsSymlinkPosition.y());

    const auto show = [](const Slider& slider, qint64 value) {
        const QSignalBlocker quiet(slider.slider);
        slider.slider->setValue(static_cast<int>(value));
        slider.value->setText(QString::number(value));
    };
    show(m_iconSize, config.iconSize);
    show(m_fontSize, config.fontSize);
    m_preview->setConfig(config);
}
