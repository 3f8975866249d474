// SPDX-License-Identifier: MIT
// The smallest module: a name, a version, no menu entry; its version text is
// built with the socket library, so that both parts of the development
// component have to link.
#include <ModuleInterface>

#include "vx_udptcp.h"

class ConsumerModule : public QObject, public ModuleInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.example.ConsumerModule")
    Q_INTERFACES(ModuleInterface)

public:
    void about_to_exit_module() override {}
    void exit_module() override {}
    QString get_module_name() const override { return QStringLiteral("Consumer"); }
    QString get_module_version() const override
    {
        int a = 0, b = 0, c = 0, d = 0;
        vx_ip_ip2num(&a, &b, &c, &d, vx_ip_num2ip(1, 0, 0, 0));
        return QStringLiteral("v%1.%2.%3").arg(a).arg(b).arg(c);
    }
    QList<_GuiElement *> get_gui_elements() override { return {}; }
    void set_param(QString, QVariant) override {}
};

#include "consumermodule.moc"
