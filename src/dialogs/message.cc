// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/message.h"

#include "dialogs/components.h"
#include "dialogs/notice.h"
#include "text/displaytext.h"
#include "text/textkeys.h"

int Message(const char *title, const char *message)
{
    Question ownTitle; // the title may be the text that the lookups below replace
    copyText(ownTitle, title);

    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent label = makeLabel(message);
    newtComponent ok = newtButton(-1, -1, text("BUTTON_OK_ID"));
    newtComponent cancel = newtButton(-1, -1, text("BUTTON_CANCEL_ID"));
    return showChoice(form, label, ok, cancel, ownTitle.data()) == ok ? 1 : 0;
}
