// What happens to pictures on their way: the changes that the tables of the deep search are made of.
#pragma once

#include <QImage>
#include <vector>

struct SPictureChange {
    const char* name;
    QImage (*apply)(const QImage& picture);  // RGB888 to RGB888; null when it cannot be done
    double leastShare;                       // of pictures that should be read after it
};

// In the order of the tables.
const std::vector<SPictureChange>& PictureChanges();
