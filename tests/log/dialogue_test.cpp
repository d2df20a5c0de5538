#include "log/dialogue.h"

#include <gtest/gtest.h>

#include <sstream>

namespace SMTPClientNS {

TEST(Dialogue, TellsWhatWasSaidButNoSecret) {
    struct Case {
        const char *said;  ///< Lines of server and client, and sizes of pieces of the mail.
        const char *rows;
        const char *lastReply;
        bool isRefusal;
    };
    const Case cases[] = {
        {"S220\nCAUTH LOGIN\nS334 x\nCuser\nS334 y\nCpass\nS235-ok\nS235 in\nCMAIL\n",
         "S: 220\nC: AUTH LOGIN\nS: 334 x\nC: ****\nS: 334 y\nC: ****\nS: 235-ok\nS: 235 in\nC: "
         "MAIL\n",
         "235 ok in", false},
        {"S220\nCauth PLAIN AHUAcA==\nS535 no\nCRSET\n",
         "S: 220\nC: auth PLAIN ****\nS: 535 no\nC: RSET\n", "535 no", true},
        {"S220\nCAUTH XOAUTH2 dG9r\nS334 eyJz\nC\nS454 later\n",
         "S: 220\nC: AUTH XOAUTH2 ****\nS: 334 eyJz\nC: ****\nS: 454 later\n", "454 later", true},
        // What libcurl skips within a login ends nothing.
        {"S220\nCAUTH LOGIN\nS250-x\nShello there\nS\nS250\tx\nS334 y\nCuser\nS334 z\nCpass\nS235 "
         "in\n",
         "S: 220\nC: AUTH LOGIN\nS: 250-x\nS: hello there\nS: \nS: 250.x\nS: 334 y\nC: ****\n"
         "S: 334 z\nC: ****\nS: 235 in\n",
         "235 in", false},
        // What an HTTP proxy is told and answers, twice, with an interim answer.
        {"CCONNECT x:25 HTTP/1.1\nCProxy-Authorization: Basic dTpw\nSHTTP/1.1 407 no\nS220 x: "
         "y\nS\n"
         "S550 body\nCCONNECT x:25 HTTP/1.1\nSHTTP/1.1 100 on\nS\nSHTTP/1.1 200 ok\nS\nS220 hi\n",
         "S: 220 hi\n", "220 hi", false},
        {"S354 go\nM1000\nM24\nS550-no\nS550 spam\nCQUIT\nS221 bye\n",
         "S: 354 go\nC: (mail text, 1024 bytes)\nS: 550-no\nS: 550 spam\nC: QUIT\nS: 221 bye\n",
         "550 no spam", true},
        {"S250\nS\nS5\xFF\x30 a\tb\nM5\n", "S: 250\nS: \nS: 5.0 a.b\nC: (mail text, 5 bytes)\n",
         "5.0 a.b", true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.said);
        CDialogue dialogue;
        std::istringstream said(c.said);
        for (std::string line; std::getline(said, line);) {
            const std::string text = line.substr(1) + "\r\n";
            line[0] == 'M'   ? dialogue.ClientSentMail(std::stoul(text))
            : line[0] == 'S' ? dialogue.ServerSaid(text)
                             : dialogue.ClientSaid(text);
        }
        EXPECT_EQ(dialogue.LastReply(), c.lastReply);
        EXPECT_EQ(dialogue.LastReplyIsRefusal(), c.isRefusal);
        NarrowString rows;
        for (const NarrowString &entry : dialogue.TakeEntries("end\n")) {
            rows += entry;
        }
        EXPECT_EQ(rows, c.rows + NarrowString("end\n"));
    }
}

}  // namespace SMTPClientNS
