#include "views/StepView.h"

#include "views/Theme.h"

#include <QVBoxLayout>

StepView::StepView(QWidget* parent)
    : QStackedWidget(parent)
    , m_content(new QVBoxLayout)
{
    auto* page = new QWidget;
    page->setLayout(m_content);
    m_content->setContentsMargins(
        Theme::Space::page, Theme::Space::page, Theme::Space::page, Theme::Space::medium);
    m_content->setSpacing(Theme::Space::large);
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
