// Filled in by its area's work.
