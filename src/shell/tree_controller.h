#pragma once
// The chain's tree on the main window: its two views, the node click and the command states, the
// new-object, properties and delete commands, the first run and the rebuild on return from a
// property form.
#include <QObject>
#include <functional>
#include <string>

#include "property_forms.h"
#include "store/hierarchy.h"

class QTreeWidgetItem;

namespace brindale::shell {

class MainWindow;

class TreeController : public QObject {
    Q_OBJECT
public:
    // Becomes a child of the window and wires its menus, buttons and tree.
    explicit TreeController(MainWindow& window);

    static TreeController* of(const MainWindow& window);

    // The tree's part of the main window's load event: the store view, and on empty data the
    // first store, made at once through its form.
    void loadEvent();

    // The PLU list follows the selection: called after every node click with true when the
    // selection differs from the one before.
    void setSelectionListener(std::function<void(bool changed)> l) { listener_ = std::move(l); }
    // What clears the flags of the PLU list when the view changes.
    void setListReset(std::function<void()> r) { listReset_ = std::move(r); }
    // Builds the binary records of departments and main groups (see store::Hierarchy).
    void setRecordBuilder(store::Hierarchy::RecordBuilder b) { builder_ = std::move(b); }

    // The commands, as the menus and buttons run them.
    void cmdStore();
    void cmdData();
    void newObject(store::Kind kind);
    void menuProperties();
    void menuDelete();
    // Rebuilds the tree of the current view if a property form was open since the last time.
    void activate();

    // The current node's key, or empty.
    std::string selectedKey() const;
    // Makes the node with the key current and runs the node click; false if there is none.
    bool selectKey(const std::string& key);
    QTreeWidgetItem* findKey(const std::string& key) const;
    static std::string keyOf(const QTreeWidgetItem* item);

    const store::EditRecords& records() const { return records_; }
    store::Hierarchy hierarchy() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildStoreView();
    void buildDataView();
    void addNodes(const std::vector<store::TreeNode>& nodes);
    QTreeWidgetItem* addNode(const store::TreeNode& node);
    void nodeClick(QTreeWidgetItem* item, bool ask);
    void applyStates(const std::string& key, bool hasChildren);
    void readSelection(const std::string& key);
    bool showForm(store::Kind kind, PropertySession& session, const std::function<void()>& onCancel = {});
    std::string rootKey() const;
    std::string menuCaption(const char* name) const;
    void reportProblems(const std::vector<std::string>& problems);

    MainWindow& w_;
    ProgramState& state_;
    store::EditRecords records_;
    std::function<void(bool)> listener_;
    std::function<void()> listReset_;
    store::Hierarchy::RecordBuilder builder_;
    bool treeValid_ = true;
    bool formOpen_ = false;
    bool quiet_ = false;  // set while the tree is changed by the program, not by the operator
    std::string lastKey_;
};

}  // namespace brindale::shell
