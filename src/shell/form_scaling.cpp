#include "form_scaling.h"

#include <algorithm>
#include <cmath>

#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QFont>
#include <QLayout>
#include <QLineEdit>
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
           qobject_cast<const QAbstractSpinBox*>(w) || qobject_cast<const QTabBar*>(w) ||
           qobject_cast<const QLineEdit*>(w);
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
    auto all = [&] {
        run(client);
        // Depth first, parents before children: each layout works in the rectangle its parent gave.
        for (QWidget* w : client->findChildren<QWidget*>()) run(w);
    };
    all();
    // A page of a tab or stack that is not shown has never been given a size (Qt sizes only the
    // current page), so its layout had no room: every page gets the current one's rectangle and
    // the layouts run again. Without this, the design of those pages' controls would be taken
    // from a squeezed layout and a page opened after a resize would show nothing.
    bool sized = false;
    for (QStackedWidget* stack : client->findChildren<QStackedWidget*>()) {
        QWidget* current = stack->currentWidget();
        if (!current) continue;
        for (int i = 0; i < stack->count(); ++i)
            if (QWidget* page = stack->widget(i); page != current && page->geometry() != current->geometry()) {
                page->setGeometry(current->geometry());
                sized = true;
            }
    }
    if (sized) all();
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
    // A control the design gives a fixed or bounded size (a narrow field of digits) grows and
    // shrinks like the others once the resizes place it; its bounds return with the layouts.
    const char* minKept = "DesignMinimumSize";
    const char* maxKept = "DesignMaximumSize";
    for (QWidget* w : scaledControls(form)) {
        if (!on) {
            if (!w->property(minKept).isValid()) {
                w->setProperty(minKept, w->minimumSize());
                w->setProperty(maxKept, w->maximumSize());
            }
            w->setMinimumSize(0, 0);
            w->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
        } else if (w->property(minKept).isValid()) {
            w->setMinimumSize(w->property(minKept).toSize());
            w->setMaximumSize(w->property(maxKept).toSize());
        }
    }
}

void saveFormGeometry(QWidget* form, ScaleReference& ref) {
    QWidget* client = clientArea(form);
    ref = makeReference(client->width(), client->height(), pointSizeOf(form->font()));
    for (QWidget* w : scaledControls(form)) {
        const QRect g = w->geometry();
        w->setProperty(kTagProperty, QString::fromStdString(formatTag(std::vector<int>{g.x(), g.y(), g.width(), g.height()})));
    }
    // Every splitter's panes, also of a splitter that is itself a pane and so has no Tag.
    for (QSplitter* s : client->findChildren<QSplitter*>()) {
        QVariantList sizes;
        for (int v : s->sizes()) sizes << v;
        s->setProperty(kTagSizesProperty, sizes);
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
    }
    // The panes share what the splitter has beside its handles, in their design proportions: the
    // handles keep their width, so panes scaled by the factor alone would not fit, and the
    // splitter would cut a pixel off one of them (and off the controls on its edge). Parents come
    // before their children here, so a splitter inside a pane already has its new size.
    for (QSplitter* s : client->findChildren<QSplitter*>()) {
        const QVariantList design = s->property(kTagSizesProperty).toList();
        if (design.isEmpty() || design.size() != s->count()) continue;
        double total = 0;
        int panes = 0;
        for (const QVariant& v : design) {
            total += v.toDouble();
            if (v.toInt() > 0) ++panes;
        }
        if (total <= 0) continue;
        const int extent = s->orientation() == Qt::Horizontal ? s->width() : s->height();
        const int room = std::max(0, extent - s->handleWidth() * std::max(0, panes - 1));
        QList<int> sizes;
        int given = 0, last = -1;
        for (int i = 0; i < design.size(); ++i) {
            const int v = static_cast<int>(std::lround(design[i].toDouble() * room / total));
            sizes << v;
            given += v;
            if (design[i].toInt() > 0) last = i;
        }
        if (last >= 0) sizes[last] += room - given;  // the rounding's remainder to the last pane
        if (s->sizes() != sizes) s->setSizes(sizes);
    }
    // Pages of tabs that are not shown take the shown page's rectangle, as they will when shown.
    for (QStackedWidget* stack : client->findChildren<QStackedWidget*>())
        if (QWidget* current = stack->currentWidget())
            for (int i = 0; i < stack->count(); ++i)
                if (QWidget* page = stack->widget(i); page != current && page->geometry() != current->geometry())
                    page->setGeometry(current->geometry());
    // Rounding, and the handles that do not scale, may push a control that lies on its parent's
    // right or bottom edge a pixel or two past it, where its border would be cut off: it is kept
    // inside. A control the design places further out is left where the Tag puts it.
    constexpr int kSlack = 3;
    for (QWidget* w : scaledControls(form)) {
        QWidget* parent = w->parentWidget();
        if (!parent || !w->property(kTagProperty).isValid()) continue;
        QRect g = w->geometry();
        const int overRight = g.x() + g.width() - parent->width();
        const int overBottom = g.y() + g.height() - parent->height();
        if (overRight > 0 && overRight <= kSlack && g.x() >= 0) g.setWidth(g.width() - overRight);
        if (overBottom > 0 && overBottom <= kSlack && g.y() >= 0) g.setHeight(g.height() - overBottom);
        if (g != w->geometry()) w->setGeometry(g);
    }
}

}  // namespace brindale::shell
