#pragma once

// The machines that the pattern step offers, read from "DeviceType.json" of the install resources: models, each with
// sub-models, each with ten numbers. The numbers are kept as texts with two decimals; what uses them takes the whole
// millimetres only.

#include <QMap>
#include <QString>
#include <QStringList>

/// Places in a sub-model's list of texts.
enum DeviceTypeNumber {
    DEVICE_X,
    DEVICE_Y,
    DEVICE_ROW,
    DEVICE_COL,
    DEVICE_START_X,
    DEVICE_START_Y,
    DEVICE_LINE_SPACING,
    DEVICE_COLUMN_SPACING,
    DEVICE_ROW_SINGLE,
    DEVICE_COL_SINGLE,
    DEVICE_NUMBERS
};

/// Reads the file and makes an empty one where there is none. Entries of both maps that the file does not have stay.
/// @param mapSubModel  sub-model to its texts; of sub-models of one name under two models the one read last counts
/// @param mapModel  model to its sub-models, both in the order of their names
/// @return false, with one log line, when the file cannot be opened for writing too, is no plain file, is larger than
///         16 MiB or is no JSON
bool ReadDeviceTypes(const QString& strFile, QMap<QString, QStringList>& mapSubModel,
                     QMap<QString, QStringList>& mapModel);

/// One number of a sub-model, cut to its whole part. 0 where the list does not have it.
int DeviceNumber(const QStringList& subModel, DeviceTypeNumber number);
