// SPDX-License-Identifier: GPL-2.0-or-later
// The tour that README shows in pictures, which doc/pictures/draw makes of these screens.
#include "navigation.h"

namespace {

// Where the buttons stand in the window of a CPU module of CEDAR.
constexpr int stop = 5, refresh = 14;

std::string tabs(int count)
{
    std::string keys;
    for (int i = 0; i < count; ++i)
        keys += keys::tab;
    return keys;
}

} // namespace

TEST(Tour, StopsACpuModule)
{
    Session session;
    session.see("Exit");
    session.expectScreen("tour/1-tree");
    session.send(secondCpuModule.path);
    session.see("CPU module 2");
    session.expectScreen("tour/2-devices");
    session.send(keys::enter);
    session.see("┤ CPU module 2 --");
    session.expectScreen("tour/3-window");
    session.send(tabs(stop) + keys::enter);
    session.see("Stop this CPU module?");
    session.expectScreen("tour/4-question");
    session.send(keys::enter);
    session.see("The operation was successful.");
    session.expectScreen("tour/5-success");
    session.send(keys::enter);
    session.seeNot("successful");
    session.send(tabs(refresh - stop) + keys::enter);
    session.expectScreen("tour/6-stopped");
}

TEST(Tour, IsTheSameInJapanese)
{
    Session session({.language = "ja_JP.UTF-8"});
    openJapanese(session, secondCpuModule);
    session.expectScreen("tour/7-japanese");
}
