#include "compose/body_tree.h"

#include <gtest/gtest.h>

namespace SMTPClientNS {

TEST(BodyTree, ImageTypeForPath) {
    for (const char *path : {"a.jpg", "a.png.txt", "a.pngx", "a.pn", "a.", "png", "", "/a.png/b"}) {
        EXPECT_STREQ(ImageTypeForPath(path), "") << path;
    }
    EXPECT_STREQ(ImageTypeForPath("/x.y/a.PnG"), "image/png");
    EXPECT_STREQ(ImageTypeForPath(".bmp"), "image/bmp");
}

}  // namespace SMTPClientNS
