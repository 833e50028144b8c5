#pragma once
// frmAbout: the program's title, purpose and version, and the build it came from.
#include <QDialog>
#include <QIcon>

namespace brindale::shell {

struct ProgramState;

// The version the operator and the scales' service know the program by.
inline constexpr const char* kProgramVersion = "1.08b02";

class FrmAbout : public QDialog {
    Q_OBJECT
public:
    explicit FrmAbout(ProgramState& state, QWidget* parent = nullptr);
};

// The program's icon in 32, 64 and 256 pixels: the windows' and the desktop's.
QIcon programIcon();

// The build's own version and commit, as the build system set them when it was configured.
const char* buildVersion();
const char* buildCommit();

}  // namespace brindale::shell
