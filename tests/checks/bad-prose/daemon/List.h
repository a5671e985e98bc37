// Whom it may concern.
