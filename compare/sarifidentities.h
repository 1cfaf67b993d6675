#pragma once

#include <QString>

struct RunIdentities;

// The identities of a SARIF log's results, read from its JSON with the keys the importer gives
// them: each failed result (kind "fail") with its place and message, the others by digest.
bool readSarifIdentities(const QString& path, RunIdentities* run, QString* error);
