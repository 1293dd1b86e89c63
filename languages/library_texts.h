// Read by languages/update only. Labels that the GUI library puts into menus and dialogs by itself: it looks
// them up in every catalog, so they are in the chosen language even where its own catalogs are not installed.
wxTRANSLATE("&About")
wxTRANSLATE("&Cancel")
wxTRANSLATE("&OK")
wxTRANSLATE("&Quit")
wxTRANSLATE("Hide this notification message.")
