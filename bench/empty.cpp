// A library of its dependencies only.
