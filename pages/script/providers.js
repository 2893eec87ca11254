// The settings page offers the servers of a well-known mail provider when an address there has been typed: into empty
// fields alone, and only when asked to. The servers are those of the user's guide. The build puts this into config.htm.
'use strict';
(function () {
  var APP_PASSWORD = 'It wants an app password.', OWN = '', NO_POP = 'has no POP3, so Vornelle cannot filter there.';
  // domains, name, POP3 server, SMTP server, what has to be done there. Without servers: why it does not work.
  var PROVIDERS = [
    ['aol.com aim.com', 'AOL', 'pop.aol.com:995', 'smtp.aol.com:465', APP_PASSWORD],
    ['btinternet.com', 'BT', 'mail.btinternet.com:995', 'mail.btinternet.com:465', OWN],
    ['fastmail.com fastmail.fm', 'Fastmail', 'pop.fastmail.com:995', 'smtp.fastmail.com:465', APP_PASSWORD],
    ['freenet.de', 'Freenet', 'mx.freenet.de:995', 'mx.freenet.de:465', 'POP3 may have to be switched on in its settings.'],
    ['gmail.com googlemail.com', 'Gmail', 'pop.gmail.com:995', 'smtp.gmail.com:465', 'POP has to be switched on in its settings, and it wants an app password.'],
    ['gmx.de gmx.net gmx.at gmx.ch', 'GMX', 'pop.gmx.net:995', 'mail.gmx.net:465', 'POP3 has to be allowed in its settings.'],
    ['gmx.com gmx.us gmx.co.uk gmx.fr', 'GMX', 'pop.gmx.com:995', 'mail.gmx.com:465', 'POP3 has to be allowed in its settings.'],
    ['libero.it', 'Libero', 'popmail.libero.it:995', 'smtp.libero.it:465', OWN],
    ['mail.com', 'mail.com', 'pop.mail.com:995', 'smtp.mail.com:465', 'POP3 is part of the paid plan, and has to be switched on in its settings.'],
    ['mail.ru bk.ru list.ru inbox.ru', 'Mail.ru', 'pop.mail.ru:995', 'smtp.mail.ru:465', 'It wants a password for external programs.'],
    ['mailbox.org', 'mailbox.org', 'pop3.mailbox.org:995', 'smtp.mailbox.org:465', OWN],
    ['naver.com', 'NAVER', 'pop.naver.com:995', 'smtp.naver.com:587', 'POP3 has to be switched on in its settings.'],
    ['163.com', 'NetEase 163', 'pop.163.com:995', 'smtp.163.com:465', 'POP3 has to be switched on; it wants an authorisation code in place of the password.'],
    ['orange.fr wanadoo.fr', 'Orange (France)', 'pop.orange.fr:995', 'smtp.orange.fr:465', OWN],
    ['posteo.de posteo.net', 'Posteo', 'posteo.de:995', 'posteo.de:465', OWN],
    ['qq.com foxmail.com', 'QQ Mail', 'pop.qq.com:995', 'smtp.qq.com:465', 'POP3 has to be switched on; it wants an authorisation code in place of the password.'],
    ['seznam.cz email.cz', 'Seznam', 'pop3.seznam.cz:995', 'smtp.seznam.cz:465', OWN],
    ['t-online.de magenta.de', 'T-Online', 'securepop.t-online.de:995', 'securesmtp.t-online.de:465', 'It wants a password for e-mail programs, made in the customer centre.'],
    ['web.de', 'WEB.DE', 'pop3.web.de:995', 'smtp.web.de:587', 'POP3 has to be allowed in its settings.'],
    ['yahoo.com yahoo.co.uk yahoo.de yahoo.fr yahoo.it yahoo.es ymail.com rocketmail.com', 'Yahoo', 'pop.mail.yahoo.com:995', 'smtp.mail.yahoo.com:465', APP_PASSWORD],
    ['yandex.com yandex.ru ya.ru', 'Yandex', 'pop.yandex.com:995', 'smtp.yandex.com:465', 'POP3 has to be switched on in its settings, and it wants an app password.'],
    ['zoho.com zohomail.com', 'Zoho', 'pop.zoho.com:995', 'smtp.zoho.com:465', 'POP3 is part of the paid plans, and has to be switched on.'],
    ['outlook.com outlook.de hotmail.com hotmail.co.uk hotmail.de hotmail.fr live.com msn.com', 'Outlook.com', '', '', 'takes no password from mail programs any more, so Vornelle cannot log on there.'],
    ['icloud.com me.com mac.com', 'iCloud', '', '', NO_POP],
    ['tuta.com tutanota.com tutanota.de', 'Tuta', '', '', NO_POP],
    ['proton.me protonmail.com pm.me', 'Proton', '', '', NO_POP],
  ];

  function field(name) { return document.getElementById(name); }

  function providerOf(address) {
    var domain = address.trim().toLowerCase().split('@')[1];
    return PROVIDERS.filter(function (one) { return domain && one[0].split(' ').indexOf(domain) >= 0; })[0];
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
    var place = field('provider'), address = field('EMAIL_ADDRESS').value.trim(), provider = providerOf(address);
    var values, button, text;
    if (provider && !provider[2]) {
      text = provider[1] + ' ' + provider[4] + ' A way round: let that mailbox forward its mail to one at another provider.';
    } else if (provider && !(field('POP_SERVER').value && field('SMTP_SERVER').value)) {
      text = provider[1] + ' has the servers ' + provider[2] + ' and ' + provider[3] + '. ' + provider[4];
      values = [['POP_SERVER', provider[2]], ['POP_ACCOUNT', address], ['SMTP_SERVER', provider[3]], ['SMTP_USER', address]];
    }
    if (place.getAttribute('data-text') === (text || '')) return;
    place.setAttribute('data-text', text || '');
    place.textContent = text ? text + ' ' : '';
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
