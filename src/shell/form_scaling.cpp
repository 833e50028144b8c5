#include "form_scaling.h"

#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QFont>
#include <QLayout>
#include <QMainWindow>
#include <QSplitter>
#include <QStackedLayout>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QVariant>

namespace brindale::shell {

namespace {

// Controls that place their own parts: their children are not controls of the form.
bool placesOwnParts(const QWidget* w) {
    return qobject_cast<const QAbstractScrollArea*>(w) || qobject_cast<const QComboBox*>(w) ||
           qobject_cast<const QAbstractSpinBox*>(w) || qobject_cast<const QTabBar*>(w);
}

// Parents that give their children place and size themselves.
bool placesChildren(const QWidget* w) {
    return qobject_cast<const QSplitter*>(w) || qobject_cast<const QStackedWidget*>(w) ||
           qobject_cast<const QTabWidget*>(w);
}

void collect(QWidget* parent, std::vector<QWidget*>& out) {
    const bool owned = placesChildren(parent);
    for (QObject* o : parent->children()) {
        auto* w = qobject_cast<QWidget*>(o);
        if (!w || w->isWindow()) continue;
        if (!owned) out.push_back(w);
        if (!placesOwnParts(w)) collect(w, out);
    }
}

double pointSizeOf(const QFont& f) {
    if (f.pointSizeF() > 0) return f.pointSizeF();
    // A font given in pixels: at the usual 96 dots an inch.
    return f.pixelSize() > 0 ? f.pixelSize() * 72.0 / 96.0 : 0.0;
}

QRect rectOf(const ControlGeometry& g) { return QRect(g.left, g.top, g.width, g.height); }

}  // namespace

void installFontSubstitutes() {
    static const bool done = [] {
        QFont::insertSubstitution("Tahoma", kTahomaSubstitute);
        return true;
    }();
    (void)done;
}

void setFormCharset(QWidget* form, int charset) {
    if (!form) return;
    const QString family = QString::fromStdString(fontNameForCharset(charset));
    auto apply = [&](QWidget* w) {
        w->setProperty(kCharsetProperty, charset);
        if (!family.isEmpty() && w->font().family() != family) {
            QFont f = w->font();
            f.setFamily(family);
            w->setFont(f);
        }
    };
    apply(form);
    for (QWidget* w : form->findChildren<QWidget*>()) apply(w);
}

void prepareForm(QWidget* form) {
    installFontSubstitutes();
    setFormCharset(form, systemFormCharset());
}

QWidget* clientArea(QWidget* form) {
    if (auto* mw = qobject_cast<QMainWindow*>(form))
        if (mw->centralWidget()) return mw->centralWidget();
    return form;
}

std::vector<QWidget*> scaledControls(QWidget* form) {
    std::vector<QWidget*> out;
    if (form) collect(clientArea(form), out);
    return out;
}

void layOutNow(QWidget* form) {
    QWidget* client = clientArea(form);
    auto run = [](QWidget* w) {
        if (QLayout* l = w->layout(); l && l->isEnabled()) {
            l->invalidate();
            l->activate();
        }
    };
    run(client);
    // Depth first, parents before children: each layout works in the rectangle its parent gave.
    for (QWidget* w : client->findChildren<QWidget*>()) run(w);
}

void setLayoutsEnabled(QWidget* form, bool on) {
    QWidget* client = clientArea(form);
    auto set = [on](QWidget* w) {
        QLayout* l = w->layout();
        if (l && !qobject_cast<QStackedLayout*>(l)) l->setEnabled(on);
        // A splitter keeps its panes above the minimum their layouts would need; with the
        // layouts off the panes shrink in proportion like everything else.
        if (auto* s = qobject_cast<QSplitter*>(w)) {
            for (int i = 0; i < s->count(); ++i) {
                QWidget* pane = s->widget(i);
                const char* kept = "DesignSizePolicy";
                if (!on) {
                    if (!pane->property(kept).isValid()) pane->setProperty(kept, QVariant::fromValue(pane->sizePolicy()));
                    pane->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
                } else if (pane->property(kept).isValid()) {
                    pane->setSizePolicy(pane->property(kept).value<QSizePolicy>());
                }
            }
        }
    };
    set(client);
    for (QWidget* w : client->findChildren<QWidget*>()) set(w);
}

void saveFormGeometry(QWidget* form, ScaleReference& ref) {
    QWidget* client = clientArea(form);
    ref = makeReference(client->width(), client->height(), pointSizeOf(form->font()));
    for (QWidget* w : scaledControls(form)) {
        const QRect g = w->geometry();
        w->setProperty(kTagProperty, QString::fromStdString(formatTag(std::vector<int>{g.x(), g.y(), g.width(), g.height()})));
        if (auto* s = qobject_cast<QSplitter*>(w)) {
            QVariantList sizes;
            for (int v : s->sizes()) sizes << v;
            s->setProperty(kTagSizesProperty, sizes);
        }
    }
    setLayoutsEnabled(form, false);
}

void resizeForm(QWidget* form, const ScaleReference& ref) {
    if (!form || !ref.saved()) return;
    QWidget* client = clientArea(form);
    const ScaleFactors f = factorsFor(ref, client->width(), client->height());
    const double size = fontSizeFor(ref, client->height());
    for (QWidget* w : scaledControls(form)) {
        const auto design = geometryFromTag(w->property(kTagProperty).toString().toStdString());
        if (!design) continue;  // no Tag, or one without all four values
        const QRect to = rectOf(scaleGeometry(*design, f));
        if (w->geometry() != to) w->setGeometry(to);
        // A size of 0 (a client area of no height) would be refused by the font: it is left out.
        if (size > 0 && w->font().pointSizeF() != size) {
            QFont font = w->font();
            font.setPointSizeF(size);
            w->setFont(font);
        }
        if (auto* s = qobject_cast<QSplitter*>(w)) {
            const QVariantList design = s->property(kTagSizesProperty).toList();
            const double k = s->orientation() == Qt::Horizontal ? f.x : f.y;
            QList<int> sizes;
            for (const QVariant& v : design) sizes << static_cast<int>(v.toDouble() * k + 0.5);
            if (!sizes.isEmpty() && s->sizes() != sizes) s->setSizes(sizes);
        }
    }
}

}  // namespace brindale::shell
