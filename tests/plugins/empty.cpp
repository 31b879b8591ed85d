// A plug-in without a single entry point.
