#include "ui/dialogs/aboutusform.h"

#include "app/product.h"
#include "ui/views/programicon.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

constexpr QSize pictureSize(96, 96);

QLabel *picture(QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(u"lbPicture"_s);
    label->setPixmap(programIcon(u":main"_s).pixmap(pictureSize, parent->devicePixelRatio()));
    label->setAccessibleName(productName());
    return label;
}

QString aboutHtml()
{
    const QString site = websiteAddress().toHtmlEscaped();
    return u"<p style=\"font-size:large\"><b>%1 v%2</b></p><p><a href=\"%3\">%3</a></p>"
           "<p>Copyright &copy; the authors of %1</p>"_s.arg(productName().toHtmlEscaped(), versionText(),
                                                             site);
}

QTextBrowser *aboutText(QWidget *parent)
{
    auto *text = new QTextBrowser(parent);
    text->setObjectName(u"txtAbout"_s);
    text->setStyleSheet(u"background:Transparent;border:0;"_s);
    text->setOpenExternalLinks(true);
    text->setHtml(aboutHtml());
    text->setAccessibleName(u"About"_s);
    text->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    return text;
}

} // namespace

AboutUsForm::AboutUsForm(QWidget *parent) : FramelessDialog(u"About"_s, parent)
{
    auto *row = new QHBoxLayout;
    row->addWidget(picture(this), 0, Qt::AlignTop);
    row->addWidget(aboutText(this), 1);

    auto *ok = new QPushButton(u"&OK"_s, this);
    ok->setObjectName(u"btnOK"_s);
    ok->setDefault(true);
    ok->setFocus();
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(ok, 0, Qt::AlignRight);
    resize(460, 170);
}
