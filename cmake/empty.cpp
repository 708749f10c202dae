// Placeholder translation unit for folders that have no sources yet.
