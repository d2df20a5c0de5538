#include "compose/body_tree.h"

#include <gtest/gtest.h>

#include "tests/support/host_tools.h"
#include "transport/curl_handles.h"

namespace SMTPClientNS {

TEST(BodyTree, ImageTypeForPath) {
    for (const char *path : {"a.jpg", "a.png.txt", "a.pngx", "a.pn", "a.", "png", "", "/a.png/b"}) {
        EXPECT_STREQ(ImageTypeForPath(path), "") << path;
    }
    EXPECT_STREQ(ImageTypeForPath("/x.y/a.PnG"), "image/png");
    EXPECT_STREQ(ImageTypeForPath(".bmp"), "image/bmp");
}

TEST(BodyTree, TakesPicturesThatTheHtmlBodyCanName) {
    const Message message = MakeSmallMessage();
    message->AddInlineImage(u"/dev/null", u"a");
    message->AddInlineImage(u"/", nullptr);
    const Client client = MakeClient();
    client->SetMessage(message.get());
    const CurlEasy easy(curl_easy_init());
    const CurlMime root = MakeMime(easy), images = MakeMime(easy);
    std::vector<NarrowString> files;
    AddInlineImageParts(root.get(), images.get(), client.get(), files);
    EXPECT_EQ(files, std::vector<NarrowString>()) << "there is no HTML body";
    message->SetHtmlBody(u"x");
    AddInlineImageParts(root.get(), images.get(), client.get(), files);
    EXPECT_EQ(files, std::vector<NarrowString>{"/dev/null"});
}

}  // namespace SMTPClientNS
