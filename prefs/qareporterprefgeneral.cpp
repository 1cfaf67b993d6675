#include "prefs/qareporterprefgeneral.h"

#include "sdk/qacolorbutton.h"
#include "sdk/studiointerface.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QPalette>
#include <QSpinBox>
#include <QVBoxLayout>

QAReporterPrefGeneral::QAReporterPrefGeneral(const QString& title, const QString& tag,
                                             const QString& helpTag, StudioInterface* studio)
    : PreferenceItem(title, tag, helpTag), m_studio(studio)
{
    defaults();
}

QAReporterPrefGeneral::~QAReporterPrefGeneral() = default;

QWidget* QAReporterPrefGeneral::createWidget(QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(10, 10, 10, 10);

    auto* viewer = new QGroupBox(tr("Viewer"), page);
    auto* viewerLayout = new QGridLayout(viewer);
    viewerLayout->addWidget(new QLabel(tr("Background color"), viewer), 0, 0);
    colorButton = new QAColorButton(viewer);
    colorButton->setColor(background, false);
    colorButton->setFixedWidth(colorButton->width() / 2);
    viewerLayout->addWidget(colorButton, 0, 1, Qt::AlignLeft);
    raiseCheck =
        new QCheckBox(tr("Automatic raise viewer on tree selection changed", "Check Box Name"));
    raiseCheck->setEnabled(m_studio && m_studio->mainWindow());
    viewerLayout->addWidget(raiseCheck, 1, 0, 1, 2);
    viewerLayout->setColumnStretch(1, 1);
    pageLayout->addWidget(viewer);

    auto* depth = new QGroupBox(tr("Report Contents Depth Open"), page);
    depth->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Maximum);
    auto* depthLayout = new QVBoxLayout(depth);
    depthSpin = new QSpinBox(depth);
    depthSpin->setRange(minDepth, maxDepth);
    depthSpin->setSingleStep(1);
    depthSpin->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Maximum);
    depthSpin->setFixedWidth(depth->width() / 2);
    depthLayout->addWidget(depthSpin);
    pageLayout->addWidget(depth);
    pageLayout->addStretch(1);
    return page;
}

void QAReporterPrefGeneral::updateContents()
{
    if (colorButton)
        colorButton->setColor(background, false);
    if (raiseCheck)
        raiseCheck->setChecked(autoRaise);
    if (depthSpin)
        depthSpin->setValue(autoDepth);
}

void QAReporterPrefGeneral::apply()
{
    if (colorButton)
        background = colorButton->color();
    if (raiseCheck)
        autoRaise = raiseCheck->isChecked();
    if (depthSpin)
        autoDepth = depthSpin->value();
}

void QAReporterPrefGeneral::cancel() {}

void QAReporterPrefGeneral::defaults()
{
    // Without a GUI application (a headless run) there is no palette: documents are white.
    background = qobject_cast<QGuiApplication*>(QCoreApplication::instance())
                     ? QGuiApplication::palette().color(QPalette::Active, QPalette::Base)
                     : QColor(Qt::white);
    autoRaise = true;
    autoDepth = 4;
}
