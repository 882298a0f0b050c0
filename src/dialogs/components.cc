// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/components.h"

#include "text/displaytext.h"

#include <map>

namespace {

std::map<newtComponent, ComponentText> texts;

newtComponent remember(newtComponent component, ComponentText text)
{
    texts[component] = std::move(text);
    return component;
}

} // namespace

newtComponent makeLabel(const char *text)
{
    return remember(newtLabel(-1, -1, text), {.mark = "", .text = text});
}

newtComponent makeCheckedLabel(const char *text)
{
    const std::string mark = "[*] ";
    Question line;
    copyText(line, (mark + text).c_str());
    return remember(newtLabel(-1, -1, line.data()),
                    {.mark = mark, .text = line.data() + mark.size()});
}

newtComponent makeRadio(const char *text, bool isSelected, newtComponent previous)
{
    return remember(newtRadiobutton(-1, -1, text, isSelected, previous),
                    {.mark = "( ) ", .text = text, .kind = ComponentText::radio});
}

newtComponent makeCheckbox(const char *text, char state, char *current)
{
    return remember(
        newtCheckbox(-1, -1, text, state, "* ", current),
        {.mark = "[ ] ", .text = text, .kind = ComponentText::checkbox, .current = current});
}

newtComponent makeTextbox(int columns, int rows, int flags)
{
    return remember(newtTextbox(-1, -1, columns, rows, flags), {});
}

const ComponentText *textOf(newtComponent component)
{
    const auto found = texts.find(component);
    return found == texts.end() ? nullptr : &found->second;
}

void changeTextOf(newtComponent textbox, const char *text)
{
    std::string &shown = texts[textbox].text = showableLines(text);
    newtTextboxSetText(textbox, shown.c_str());
}

void forgetText(newtComponent component)
{
    texts.erase(component);
}

char stateOf(newtComponent component)
{
    if (const char *current = textOf(component)->current)
        return *current;
    return newtRadioGetCurrent(component) == component ? '*' : ' ';
}
