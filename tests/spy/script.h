// SPDX-License-Identifier: GPL-2.0-or-later
// What the spy plays. YAT_SPY_SCRIPT names the script, a line a rule:
//
//     CALL RESULT [delay=MS] [held] [endless] [at=N] [text=TEXT]
//
// RESULT is a number, "real" for what the real call answers, "none" for a function that is not
// there, "exit" for one that ends the process with status 7, or "overflow" for one that uses the
// stack up. TEXT, the rest of the line, is what
// the call writes into its text buffer. A call that is held goes on when there is a file SCRIPT.go.
// One that is endless fills its buffer with 'x', as far as that goes, and has no zero behind it;
// CreateTreeViewData leaves such bytes where records would be.
// With at, the rule is for the N-th call only. The first rule that fits counts.
//
// A line "tree FILE" makes CreateTreeViewData read its records from a file, see playedTree.
#pragma once

#include "yat/device.h"

#include <cstdlib>
#include <optional>
#include <string>

struct Rule {
    std::string call, result;
    std::optional<std::string> text;
    int delay = 0; // milliseconds
    bool isHeld = false, isEndless = false;
    int at = 0; // 0: every call

    bool isReal() const
    {
        return result == "real";
    }
    int number() const
    {
        return atoi(result.c_str());
    }
    int textAsNumber() const
    {
        return atoi(text->c_str());
    }
};

// The rule for a call, which counts as another one; null when the script says nothing of it.
const Rule *ruleFor(const std::string &call);

bool isMissing(const std::string &function);

// Waits as long as the rule says.
void waitFor(const Rule &rule);

// The tree of the script's file, a record a line:
//
//     DEPTH HIERARCHY CLASS INSTANCE PATH0 NAME
//
// DEPTH is where the record stands, 0 below the root; "-" for CLASS leaves the identity out, "-"
// for NAME the name; "null" for the whole is a null record at that DEPTH, and "above" the record
// that it stands below. Nothing is ever freed.
bool hasTree();
yat_device *playedTree();
