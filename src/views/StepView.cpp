#include "views/StepView.h"

#include "views/Theme.h"

#include <QVBoxLayout>

QVBoxLayout* makeStepLayout(QWidget* screen)
{
    auto* layout = new QVBoxLayout(screen);
    layout->setContentsMargins(
        Theme::Space::page, Theme::Space::page, Theme::Space::page, Theme::Space::medium);
    layout->setSpacing(Theme::Space::large);
    return layout;
}

StepView::StepView(QWidget* parent)
    : QStackedWidget(parent)
{
    auto* page = new QWidget;
    m_content = makeStepLayout(page);
    addWidget(page);
}

void StepView::setEmptyPage(QWidget* page)
{
    addWidget(page);
}

void StepView::showContent(bool hasFile)
{
    setCurrentIndex(hasFile || count() < 2 ? 0 : 1);
}
