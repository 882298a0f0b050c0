// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/success.h"

#include "dialogs/components.h"
#include "dialogs/notice.h"
#include "text/displaytext.h"
#include "text/textkeys.h"

void Success(const char *title)
{
    Question ownTitle;
    copyText(ownTitle, title);
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent label = makeLabel(text("LABEL_SUCCESS_ID"));
    showNotice(form, label, newtButton(-1, -1, text("BUTTON_CLOSE_ID")), ownTitle.data());
}
