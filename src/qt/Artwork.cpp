#include "qt/Artwork.h"

#include <QLinearGradient>
#include <QPainter>

QPixmap MakerBitmap()
{
    QPixmap pixmap(96, 24);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, 96, 0);
    gradient.setColorAt(0, QColor(0x1f, 0x4e, 0x79));
    gradient.setColorAt(1, QColor(0x2e, 0x86, 0xc1));
    p.setBrush(gradient);
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(pixmap.rect(), 4, 4);
    p.setPen(Qt::white);
    QFont font = p.font();
    font.setBold(true);
    font.setPointSize(9);
    p.setFont(font);
    p.drawText(pixmap.rect(), Qt::AlignCenter, "MORVANE");
    return pixmap;
}
