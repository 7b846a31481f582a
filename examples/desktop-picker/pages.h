// The two pages of the window: a question of any kind, and the list of desktops.
#pragma once

#include "question.h"

#include <functional>

class QLabel;
class QWidget;

/// What brokers say is shown as it is, never as HTML.
QLabel *plain_label(const std::string &text);

/// `answered` gets the answer when a button is pressed.
QWidget *question_page(const Question &question, std::function<void(SharedAnswer)> answered);

/// What can be done with any desktop, beside the KAVRO_BROKER_OPERATION_... that it offers.
enum : std::uint32_t { connect_desktop = 16, list_again };

/// The desktop of the id `chosen` is selected. `pressed` gets an id and what is to be done.
QWidget *desktops_page(const std::vector<kavro_broker::desktop> &desktops,
                       const std::string &chosen,
                       std::function<void(std::string, std::uint32_t)> pressed);
