#pragma once

#include <QVariantAnimation>
#include <QWidget>

class ZenView;

// The "Refresh animation" window: the breathing field as it looks during a refresh, driven by a
// pretend refresh that decides one more file every tenth of a second until all are decided.
class ZenPreview : public QWidget
{
    Q_OBJECT

public:
    explicit ZenPreview(QWidget* parent = nullptr);

    int decided() const;
    ZenView* zenView() const;

    static constexpr int kTotal = 120;
    static constexpr int kStepMs = 100;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void setDecided(int decided);

    ZenView* m_zen;
    int m_decided = 0;
    // The pretend refresh runs on animation time, so it pauses with the window and tests can
    // step it.
    QVariantAnimation m_refresh;
};
