#pragma once

class wxWindow;

/// Lets the user choose a language. A choice is applied and stored; cancelling changes nothing.
void chooseLanguage(wxWindow* parent);
