#pragma once

#include <string>

#include <wx/aboutdlg.h>
#include <wx/string.h>

/// Shows the box with name, version and rights; it stays until closed, the program goes on meanwhile.
void showAboutBox();

/// What the box says.
wxAboutDialogInfo aboutInfo();

/// The rights notice of a build of that date, which ends with its year ("Jun 25 2026").
wxString rightsNotice(const std::string& buildDate);
