#pragma once

class QWidget;

/// Tells what may be entered as the address of a probe, in a modal box of its own.
void ShowIpInformation(QWidget *parent);
