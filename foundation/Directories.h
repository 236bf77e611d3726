#pragma once
#include <QString>

// Where things are, process-wide. The binary and installation directories are set once at
// start-up, before any other thread runs; the others come from the environment on each call.
QString binaryDirectory();
void setBinaryDirectory(const QString &directory);
QString installationDirectory();
void setInstallationDirectory(const QString &directory);

QString userHomeDirectory();     // $HOME
QString documentsDirectory();    // $HOME/Documents
QString desktopDirectory();      // $HOME/Desktop
QString userDataDirectory();     // $HOME/.local/share
QString systemDataDirectory();   // /usr/share
// The first of $TMP, $TEMP and $TMPDIR that is set; /tmp otherwise.
QString temporaryDirectory();

// Hands a URL or file to the desktop's opener; false if it could not be started.
bool openWithDesktop(const QString &url);
