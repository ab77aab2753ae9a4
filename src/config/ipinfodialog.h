#pragma once

class QWidget;

/// Shows, in a modal box, what may be entered as the address of a probe.
void ShowIpInformation(QWidget *parent);
