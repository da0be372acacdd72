#!/usr/bin/python3
"""The radio screen in headless Chromium through WebDriver, on a running head unit: seek,
presets (tap and hold), the service list with paging and the A-Z search, an antenna fault,
a new dynamic text, the service stopping and coming back. Screenshots go to --screenshots.
Exits 77 (skipped) when Chromium cannot start."""

import os
import re
import shutil
import sys
import tempfile
import time

import webharness

SKIP = 77
WAIT = 30  # seconds: generous for a loaded two-core machine


def start_browser(profile):
    try:
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
    except ImportError as e:
        print('FAILED: python3-selenium is missing (scripts/install-deps.sh installs it): %s' % e)
        sys.exit(1)
    options = webdriver.ChromeOptions()
    for flag in ('--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
                 '--disable-background-networking', '--disable-component-update', '--disable-sync',
                 '--disable-dev-shm-usage', '--user-data-dir=' + profile, '--window-size=1280,720',
                 '--lang=en-US'):
        options.add_argument(flag)
    for binary in ('/usr/bin/chromium', '/usr/bin/chromium-browser'):
        if os.path.exists(binary):
            options.binary_location = binary
            break
    driver_path = '/usr/bin/chromedriver'
    try:
        service = Service(driver_path) if os.path.exists(driver_path) else Service()
        return webdriver.Chrome(service=service, options=options)
    except Exception as e:  # noqa: BLE001 - any failure to start means no browser here
        print('SKIP: Chromium cannot start here: %s' % str(e).splitlines()[0] if str(e) else e)
        sys.exit(SKIP)


def main(hu, args):
    shots = args.screenshots or tempfile.mkdtemp(prefix='dabweb-shots-')
    os.makedirs(shots, exist_ok=True)
    profile = tempfile.mkdtemp(prefix='dabweb-chromium-')
    try:
        browser = start_browser(profile)  # before the head unit: a skip leaves nothing running
    except SystemExit:
        shutil.rmtree(profile, ignore_errors=True)
        raise
    try:
        hu.start()
        run(browser, hu, shots)
    finally:
        browser.quit()
        shutil.rmtree(profile, ignore_errors=True)
    print('test_browser: passed; screenshots in %s' % shots)
    return 0


def run(b, hu, shots):
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait

    from selenium.common.exceptions import StaleElementReferenceException

    def safely(cond):
        try:
            return cond()
        except StaleElementReferenceException:  # the page redrew it meanwhile
            return False

    def wait(cond, what):
        try:
            return WebDriverWait(b, WAIT, poll_frequency=0.1).until(lambda d: safely(cond))
        except Exception as e:
            raise AssertionError('timed out waiting for %s (%s)' % (what, type(e).__name__))

    def text(css):
        return b.find_element(By.CSS_SELECTOR, css).text

    def click(css):
        b.find_element(By.CSS_SELECTOR, css).click()

    def shot(name):
        b.save_screenshot(os.path.join(shots, name))

    def banner():
        e = b.find_element(By.ID, 'banner')
        return e.text if e.is_displayed() else ''

    def viewport(width, height):
        b.execute_cdp_cmd('Emulation.setDeviceMetricsOverride',
                          {'width': width, 'height': height, 'deviceScaleFactor': 1, 'mobile': width < 600})

    viewport(1280, 720)
    b.get(hu.url + '/')
    wait(lambda: text('#service-label') not in ('', '–', 'No service') and banner() == '', 'the radio to show')
    wait(lambda: text('#preset-1-1 .name') not in ('', 'empty'), 'the presets')
    shot('radio-1280x720.png')

    # Seek up: another station.
    before = text('#service-label')
    click('#btn-seek-up')
    wait(lambda: text('#service-label') not in (before, '', '–', 'No service'),
         'the service label to change after seek up')

    # Tap preset 2 of band 1: it is recalled and highlighted.
    click('#preset-1-2')
    wait(lambda: 'current' in b.find_element(By.ID, 'preset-1-2').get_attribute('class'), 'preset 2 highlighted')
    heard = text('#service-label')
    wait(lambda: text('#preset-1-2 .name') == heard, 'the recalled station to be preset 2 (%s)' % heard)

    # Hold the empty slot 6 of band 3: the station heard now is stored there.
    slot = b.find_element(By.ID, 'preset-3-6')
    if 'nolabel' not in slot.get_attribute('class'):
        raise AssertionError('band 3 slot 6 has a name already: %s' % slot.text)
    ActionChains(b).click_and_hold(slot).pause(1.5).release().perform()
    wait(lambda: text('#preset-3-6 .name') == heard, 'the stored name "%s" on preset 6 of band 3' % heard)

    # The service list: it loads, pages, and the A-Z search finds a letter.
    click('[data-list="services"]')
    wait(lambda: 'entries' in text('#list-status'), 'the service list')
    first_page = text('#list-items')
    click('#btn-list-next')
    wait(lambda: text('#list-page').startswith('page 2 /') and text('#list-items') != first_page, 'page 2')
    labels = [i['label'] for i in hu.state()['lists']['services']['items'] if i.get('label')]
    letter = next(l[0].upper() for l in reversed(labels) if 'A' <= l[0].upper() <= 'Z')
    click('#abc button[data-letter="%s"]' % letter)
    wait(lambda: b.find_elements(By.CSS_SELECTOR, '#list-items li.found'), 'the search result for %s' % letter)
    found = text('#list-items li.found')
    if not re.sub(r'^\d+\s*', '', found).upper().startswith(letter):
        raise AssertionError('search for %s highlighted "%s"' % (letter, found))
    shot('radio-list-search.png')

    # An antenna fault from the simulator's panel.
    click('[data-tab="faults"]')
    click('#btn-fault-antenna')
    wait(lambda: 'ANTENNA FAULT' in text('#antenna'), 'the antenna fault indicator')
    shot('radio-antenna-fault.png')
    click('[data-sim="antenna"][data-arg="1"]')
    wait(lambda: 'ANTENNA FAULT' not in text('#antenna'), 'the antenna fault to clear')

    # A new dynamic text arrives, in accented Latin and Cyrillic.
    message = 'Web test %d: Grüße, Привет' % (int(time.time()) % 1000)
    box = b.find_element(By.ID, 'dls-input')
    box.send_keys(message)
    click('#dls-form button')
    wait(lambda: text('#dynamic-text') == message, 'the dynamic text "%s"' % message)

    # A phone-sized screen.
    viewport(390, 844)
    wait(lambda: b.execute_script('return window.innerWidth') <= 400, 'the phone width')
    shot('radio-phone.png')
    viewport(1280, 720)

    # The service stops: the page says so, and recovers by itself when it is back.
    hu.stop_service()
    wait(lambda: 'radio service not running' in banner(), 'the "radio service not running" banner')
    shot('radio-not-running.png')
    hu.start_service()
    wait(lambda: banner() == '' and text('#service-label') not in ('', '–', 'No service'), 'the page to recover')
    shot('radio-recovered.png')


if __name__ == '__main__':
    webharness.run(main)
