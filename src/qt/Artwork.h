// Pictures the views draw themselves, in place of the described program's bitmap resources.
#pragma once

#include <QPixmap>

// The maker's bitmap: on the button beside "About Morvane" and in the About box.
QPixmap MakerBitmap();
