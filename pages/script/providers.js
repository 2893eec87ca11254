// The settings page offers the servers of a well-known mail provider when an address there has been typed: into empty
// fields alone, and only when asked to. The build puts this into config.htm, and the table of the user's guide into this.
'use strict';
(function () {
  // [domains, name, POP3 server, SMTP server, what has to be done there], from the table of the guide's chapter.
  var PROVIDERS = [/* providers */];
  var NO_POP = ' has no POP3, so Vornelle cannot filter there.';
  var CLOSED = [
    ['outlook.com outlook.de hotmail.com hotmail.co.uk hotmail.de hotmail.fr live.com msn.com',
      'Outlook.com takes no password from mail programs any more, so Vornelle cannot log on there.'],
    ['icloud.com me.com mac.com', 'iCloud' + NO_POP],
    ['tuta.com tutanota.com tutanota.de', 'Tuta' + NO_POP],
    ['proton.me protonmail.com pm.me', 'Proton' + NO_POP],
  ];

  function field(name) { return document.getElementById(name); }

  function providerOf(address, table) {
    var domain = address.toLowerCase().split('@')[1];
    return table.filter(function (one) { return domain && one[0].split(' ').indexOf(domain) >= 0; })[0];
  }

  function enter(values) {
    values.forEach(function (value) {
      if (field(value[0]).value) return;
      field(value[0]).value = value[1];
      field(value[0]).dispatchEvent(new Event('input', { bubbles: true }));
    });
    field('POP_PASSWORD').focus();
  }

  // The offer stands as long as there is something to enter.
  function show() {
    var place = field('provider'), address = field('EMAIL_ADDRESS').value.trim();
    var provider = providerOf(address, PROVIDERS), closed = providerOf(address, CLOSED), values, button, text, guide, link;
    if (closed) {
      text = closed[1] + ' A way round: let that mailbox forward its mail to one at another provider.';
    } else if (provider && !(field('POP_SERVER').value && field('SMTP_SERVER').value)) {
      text = provider[1] + ' has the servers ' + provider[2] + ' and ' + provider[3] + '. What has to be done there: ' + provider[4];
      values = [['POP_SERVER', provider[2]], ['POP_ACCOUNT', address], ['SMTP_SERVER', provider[3]], ['SMTP_USER', address]];
    }
    if (place.getAttribute('data-text') === (text || '')) return;
    place.setAttribute('data-text', text || '');
    place.textContent = text ? text + ' ' : '';
    guide = document.querySelector('a.guide[href]');
    if (text && guide && guide.getAttribute('href')) {
      link = document.createElement('a');
      link.href = guide.href.split('#')[0] + '#providers';
      link.target = '_blank';
      link.textContent = 'More in the guide';
      place.append(link);
    }
    if (!values) return;
    button = document.createElement('button');
    button.type = 'button';
    button.textContent = 'Enter them in the empty fields';
    button.addEventListener('click', function () { enter(values); });
    place.append(button);
  }

  document.addEventListener('DOMContentLoaded', function () {
    ['EMAIL_ADDRESS', 'POP_SERVER', 'SMTP_SERVER'].forEach(function (name) { field(name).addEventListener('input', show); });
    show();
  });
})();
