#pragma once

// What most rooms include, compiled once for all of them (see ctc_room). A source still includes what it uses itself;
// scripts/tidy.sh, which reads the sources without this, says where one does not.

#include <opencv2/core.hpp>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>
