#pragma once

// The same for rooms that show widgets.

#include "RoomHeaders.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QMessageBox>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QWidget>
