// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Compiled only for its warnings: one for each line of the first function, none for the second.
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

using namespace Pegasus;

void texts(char* text) {
    CIMValue a("text");
    CIMValue b(text);
    CIMKeyBinding c("Name", "text");
    CIMProperty d("Name", "text");
}

void others(const String& text) {
    CIMValue a(0), b(false), c(0u), d(1.5), e('x'), f(text), g(String("text"));
    CIMKeyBinding h("Name", text), i("Name", "text", CIMKeyBinding::STRING), j("Name", 0);
    CIMProperty k("Name", 5u);
}
